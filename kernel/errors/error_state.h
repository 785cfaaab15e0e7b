// The calling thread's error state: a code, a message and a stack of saved errors.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// Length of every message buffer, terminator included.
inline constexpr std::size_t kMessageLength = 2048;

// Records an error and returns false, for `return fail(...)`. The message is the code's text, two
// spaces, "[qmsd]", and the formatted detail. Needs no memory but the thread's message buffer; when
// that cannot be had only the code is stored.
bool fail(std::int32_t code);
bool fail(std::int32_t code, const qm_wchar* format, ...);

// The same for arguments that are not accepted, with the condition that they break.
template <class... Values>
bool refuse(const qm_wchar* condition, Values... values) {
  return fail(QM_ERROR_ARGUMENT, condition, values...);
}

// Start-up and shutdown of the three per-thread values; each of them may be missing.
void error_state_create();
void error_state_destroy();
// For a thread that begins (it has no values yet) and one that ends (frees its own). No lock.
void error_thread_reset() noexcept;
void error_thread_clear() noexcept;

// Takes the thread's error out of the way and puts it back exactly, without allocating anything.
// The error stack is not touched.
class SavedError {
 public:
  SavedError() noexcept;
  ~SavedError();  // restores unless told otherwise
  SavedError(const SavedError&) = delete;
  SavedError& operator=(const SavedError&) = delete;

  // Keeps whatever has been recorded since; if nothing was, the saved error comes back.
  void keep_newer() noexcept;

 private:
  std::int32_t code_;
  qm_wchar* message_;  // the thread's own buffer, or null when it had none
  bool done_ = false;
};

}  // namespace qmsd
