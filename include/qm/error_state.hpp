// Keeps the calling thread's error state while other calls are made.
#pragma once

#include <qmsd7.h>

#include <qm/kernel.hpp>

namespace qm {

/// Saves the calling thread's error state and restores it at the end of the scope: failures in
/// between leave no trace. Guards may be nested.
/// Owner: of one entry on the thread's error stack. Errors: without memory nothing is saved, and
/// nothing restored. Threads: made and ended by the same thread.
///
///     kernel.set_error(QM_ERROR_RANGE, "the first failure");
///     {
///       const qm::ErrorStateGuard guard(kernel);
///       check(!kernel.try_call(0x1000ABCD));
///     }
///     check(kernel.error().code() == QM_ERROR_RANGE);
class ErrorStateGuard {
 public:
  explicit ErrorStateGuard(Kernel of) noexcept
      : kernel_(of), saved_(kernel_.call_raw(0, QM_CALL_PUSHERROR) != 0) {}
  ErrorStateGuard(const ErrorStateGuard&) = delete;
  ErrorStateGuard& operator=(const ErrorStateGuard&) = delete;
  ~ErrorStateGuard() {
    if (saved_) kernel_.call_raw(0, QM_CALL_POPERROR);
  }

 private:
  Kernel kernel_;
  bool saved_;
};

}  // namespace qm
