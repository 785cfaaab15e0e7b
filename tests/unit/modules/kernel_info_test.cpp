// What the kernel tells about itself.
#include "modules/kernel_info.h"

#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

TEST(KernelInfo, DescribesTheKernelAsAModuleWould) {
  qm_info_request request{nullptr};
  EXPECT_TRUE(kernel_info(&request));
  ASSERT_NE(request.info, nullptr);
  EXPECT_EQ(request.info->id, 0x716D0000u);
  EXPECT_EQ(request.info->version, 0x0703011Du);
  EXPECT_STREQ(request.info->description, "QM Library (rev: 49d3a6e)");
  EXPECT_EQ(narrow(request.info->description_wide), request.info->description);
  EXPECT_EQ(request.info->call, &qm_call);
}

TEST(KernelInfo, StaysWhereItIs) {
  qm_info_request first{nullptr};
  qm_info_request second{nullptr};
  kernel_info(&first);
  kernel_info(&second);
  EXPECT_EQ(first.info, second.info);
}

TEST(KernelInfo, NeedsNoRecord) { EXPECT_TRUE(kernel_info(nullptr)); }

}  // namespace
}  // namespace qmsd
