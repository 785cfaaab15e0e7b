#include "tests/contract/support/kernel_test.h"

namespace contract {

KernelTest::~KernelTest() = default;

void KernelTest::load_kernel() {
  kernel_.reset();
  kernel_.emplace();
  ASSERT_NE(kernel_->entry(), nullptr);
}

void KernelTest::TearDown() {
  if (!kernel_) return;
  EXPECT_EQ(kernel_->live_blocks(), 0) << "tracked blocks left behind";
  EXPECT_EQ(kernel_->live_handles(), 0) << "handles left behind";
  EXPECT_EQ((*kernel_)(QM_CALL_MEMCHECK), 1);
  kernel_.reset();
  EXPECT_FALSE(SharedLibrary::is_loaded(kernel_file())) << "the kernel cannot be unloaded";
}

std::uint32_t KernelTest::open(const Text& name, const qm_wchar* group) {
  qm_open_module_w record{name.c_str(), group, 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 1)
      << printable(name) << ": " << testing::PrintToString(kernel().error());
  return record.handle;
}

bool KernelTest::close(std::uint32_t handle) {
  qm_handle_ref record{handle};
  EXPECT_EQ(kernel()(QM_CALL_CLOSEHANDLE, &record), 1) << testing::PrintToString(kernel().error());
  return record.handle == 0;
}

void* KernelTest::allocate(std::int32_t size) {
  qm_realloc record{nullptr, size};
  EXPECT_EQ(kernel()(QM_CALL_REALLOC, &record), 1);
  EXPECT_NE(record.pointer, nullptr);
  return record.pointer;
}

void KernelTest::release(void* block) {
  qm_realloc record{block, 0};
  EXPECT_EQ(kernel()(QM_CALL_REALLOC, &record), 1) << testing::PrintToString(kernel().error());
  EXPECT_EQ(record.pointer, nullptr);
}

}  // namespace contract
