// The fixture of the client's tests: a freshly loaded kernel, and a spy in front of it that counts
// calls and refuses some.
#pragma once

#include <qm/client.hpp>

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "tests/contract/support/kernel_test.h"

namespace client_test {

// Stands before the kernel's entry. One thread only.
class Spy {
 public:
  explicit Spy(qm_call_fn kernel) {
    kernel_ = kernel;
    calls_.clear();
    refusals_.clear();
  }

  // How often the code was called and served.
  int served(std::uint32_t function) const { return calls_[function]; }
  // The next `times` calls of the code fail with error 12.
  void refuse(std::uint32_t function, int times = 1) { refusals_[function] = times; }

  static std::int32_t QM_STDCALL call(std::uint32_t handle, std::uint32_t function, void* record) {
    if (refusals_[function] > 0) {
      --refusals_[function];
      qm_set_error_w error{QM_SET_ERROR_LITERAL, QM_ERROR_NO_MEMORY, QM_W("(spy)"), nullptr};
      kernel_(0, QM_CALL_SETERRORW, &error);
      return 0;
    }
    const std::int32_t result = kernel_(handle, function, record);
    if (result != 0) ++calls_[function];
    return result;
  }

 private:
  inline static qm_call_fn kernel_ = nullptr;
  inline static std::map<std::uint32_t, int> calls_;
  inline static std::map<std::uint32_t, int> refusals_;
};

class ClientTest : public contract::KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    spy_.emplace(KernelTest::kernel().entry());
  }

  // The kernel as the client sees it: behind the spy, or plainly, for many threads.
  static qm::Kernel kernel() { return qm::Kernel(&Spy::call); }
  qm::Kernel plain_kernel() const { return qm::Kernel(KernelTest::kernel().entry()); }
  Spy& spy() { return *spy_; }

  void install_examples() const {
    for (const char* module : {"exgreeter", "excounter"}) folder().install(module, module);
  }

 private:
  std::optional<Spy> spy_;
};

// Did it fail with this code? Tells what happened instead.
template <class T>
testing::AssertionResult fails_with(std::int32_t code, const qm::Result<T>& result) {
  if (result) return testing::AssertionFailure() << "it did not fail";
  if (result.error().code() == code) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "error " << result.error().code() << ": " << result.error().text();
}

// The throwing form fails just as the other one did.
template <class Action>
testing::AssertionResult throws_with(std::int32_t code, Action action) {
  try {
    action();
  } catch (const qm::Error& error) {
    if (error.code() == code) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "error " << error.code() << ": " << error.text();
  }
  return testing::AssertionFailure() << "nothing was thrown";
}

}  // namespace client_test
