// A module's way to the kernel, and how its failures get there. A part of <qm/module.hpp>.
#pragma once

#include <qmsd7.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include <qm/error.hpp>
#include <qm/failure.hpp>
#include <qm/kernel.hpp>

// What belongs to one library only. Shared with other libraries, it would keep them loaded.
#ifdef _WIN32
#define QM_OF_THIS_LIBRARY
#else
#define QM_OF_THIS_LIBRARY [[gnu::visibility("hidden")]]
#endif

namespace qm::detail {

// The kernel tells it right after it has loaded the module.
QM_OF_THIS_LIBRARY inline constinit std::atomic<qm_call_fn> module_kernel_entry{nullptr};

// The error codes of the standard library's exceptions, as far as they say what went wrong.
inline std::int32_t code_of(const std::exception& exception) {
  if (const auto* failure = dynamic_cast<const Failure*>(&exception)) return failure->code();
  if (const auto* system = dynamic_cast<const std::system_error*>(&exception)) {
    const std::error_condition condition = system->code().default_error_condition();
    const bool is_errno = condition.category() == std::generic_category();
    if (is_errno && condition.value() != 0) return condition.value();
  }
  if (dynamic_cast<const std::invalid_argument*>(&exception) != nullptr) return QM_ERROR_ARGUMENT;
  if (dynamic_cast<const std::out_of_range*>(&exception) != nullptr) return QM_ERROR_RANGE;
  return QM_ERROR_DAMAGED;
}

inline Kernel module_kernel() noexcept {
  return Kernel(module_kernel_entry.load(std::memory_order_acquire));
}

// The functions below record an error and return what a failed call returns.

// The code alone, when there is no memory for a message.
inline std::int32_t fail_without_memory() noexcept {
  qm_set_error_w record{QM_SET_ERROR_LITERAL, QM_ERROR_NO_MEMORY, nullptr, nullptr};
  module_kernel().call_raw(0, QM_CALL_SETERRORW, &record);
  return 0;
}

// Code and message as they are.
inline std::int32_t fail_with(const Error& error) noexcept {
  module_kernel().set_error(error);
  return 0;
}

// The code, and a message that names the module.
inline std::int32_t fail_with(std::int32_t code, const char* module, const char* detail) noexcept {
  try {
    module_kernel().set_error(code, "[" + std::string(module) + "] " + detail);
    return 0;
  } catch (const std::bad_alloc&) {
    return fail_without_memory();
  }
}

}  // namespace qm::detail
