// The fixture of all contract tests: a folder of its own, a freshly loaded kernel, and the proof at
// the end that nothing was left behind.
#pragma once

#include <cstdint>
#include <string>

#include "tests/contract/support/kernel.h"
#include "tests/contract/support/surroundings.h"

namespace contract {

class KernelTest : public testing::Test {
 protected:
  KernelTest() = default;
  ~KernelTest() override;

  void SetUp() override { load_kernel(); }
  void TearDown() override;

  // Loads the kernel again after the test changed what it finds around it.
  void load_kernel();
  void unload_kernel() { kernel_.reset(); }
  const Kernel& kernel() const { return *kernel_; }
  bool kernel_is_loaded() const { return kernel_.has_value(); }
  const ScratchFolder& folder() const { return folder_; }

  // Opens a module that the test expects to be there.
  std::uint32_t open(const Text& name, const qm_wchar* group = nullptr);
  // Drops one reference that the test expects to hold; tells whether it was the last.
  bool close(std::uint32_t handle);
  void* allocate(std::int32_t size);
  void release(void* block);

 private:
  ScopedLocale locale_;
  ScratchFolder folder_;
  std::optional<Kernel> kernel_;
};

}  // namespace contract
