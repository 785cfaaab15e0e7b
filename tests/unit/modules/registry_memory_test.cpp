// Running out of memory anywhere between an open and its close.
#include "modules/registry.h"
#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class MemoryShortage : public ModuleTest, public testing::WithParamInterface<test::Shortage> {
 protected:
  static void open_and_close(const std::string& name) {
    const std::uint32_t handle = open(name, "own");
    if (handle != 0) {
      close(handle);
      return;
    }
    EXPECT_TRUE(test::allocation_refused());
    const std::int32_t code = test::thread_error().code;
    EXPECT_TRUE(code == QM_ERROR_NO_MEMORY || code == QM_ERROR_LOAD) << code;
  }
};

TEST_P(MemoryShortage, LeavesASoundRegistry) {
  install("tm_plain");
  install_store("/own/viewer=tm_plain : fast");
  bool refused = true;
  for (int n = 1; refused; ++n) {
    SCOPED_TRACE(n);
    start();
    refused = test::with_allocation_failing(n, GetParam(), [] {
      open_and_close("viewer");
      open_and_close("tm_plain");
    });
    const std::uint32_t direct = open("tm_plain");
    const std::uint32_t alias = open("viewer", "own");
    EXPECT_NE(direct, 0u) << error_message();
    EXPECT_NE(alias, 0u) << error_message();
    stop();
    const Lines lines = journal();
    EXPECT_EQ(count_of(lines, "tm_plain load"), count_of(lines, "tm_plain unload"));
    ASSERT_LT(n, 1000);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, MemoryShortage,
                         testing::Values(test::Shortage::once, test::Shortage::from_then_on,
                                         test::Shortage::throws));

class StartWithoutMemory : public ModuleTest {};

TEST_F(StartWithoutMemory, EndsAllTheSame) {
  install_store("/default/groups/1200=b\n/default/error/57=text");
  test::fail_each_allocation([this] {
    start();
    stop();
  });
}

}  // namespace
}  // namespace qmsd
