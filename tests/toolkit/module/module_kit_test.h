// The module of these tests in a freshly loaded kernel.
#pragma once

#include <cstdint>
#include <string>

#include "tests/contract/support/kernel_test.h"
#include "tests/toolkit/module/kit_module.h"

namespace toolkit_test {

using contract::Text;

class ModuleKit : public contract::KernelTest {
 protected:
  void SetUp() override {
    for (const char* module : {"kitmodule", "kitrefusing"}) folder().install(module, module);
    load_kernel();
  }

  // A call through a handle of the kernel's.
  template <class Record>
  bool call(std::uint32_t handle, std::uint32_t code, Record& record) const {
    return kernel().through(handle, code, &record) == 1;
  }
  bool call(std::uint32_t handle, std::uint32_t code) const {
    return kernel().through(handle, code) == 1;
  }
  std::int32_t add(std::uint32_t handle, std::int32_t step) const {
    kit::Sum record{step, -1};
    EXPECT_TRUE(call(handle, kit::kAdd, record)) << testing::PrintToString(kernel().error());
    return record.sum;
  }
  kit::Instances count(std::uint32_t handle) const {
    kit::Instances record{-1, -1};
    EXPECT_TRUE(call(handle, kit::kCount, record)) << testing::PrintToString(kernel().error());
    return record;
  }

  // The module's own side of a handle: entry and handle. The kernel's reference is given back.
  qm_resolve_handle inside(std::uint32_t handle) const {
    qm_resolve_handle record{handle, 0, nullptr, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_RESOLVEHANDLE, &record), 1);
    qm_handle_ref reference{handle};
    EXPECT_EQ(kernel()(QM_CALL_UNREFHANDLE, &reference), 1);
    return record;
  }

  // The last error is this code and this text of the module's, behind the code's own text.
  testing::AssertionResult has_error(std::int32_t code, const Text& detail,
                                     const Text& module = QM_W("kitmodule")) const {
    const contract::Error expected{
        code, contract::runtime_text(code) + QM_W(" [") + module + QM_W("] ") + detail};
    if (kernel().error() == expected) return testing::AssertionSuccess();
    return testing::AssertionFailure() << testing::PrintToString(kernel().error()) << " instead of "
                                       << testing::PrintToString(expected);
  }
};

}  // namespace toolkit_test
