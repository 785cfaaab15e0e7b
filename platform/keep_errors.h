// Puts the thread's errno and last system error back at the end of a scope: for clean-up that may
// run between a failure and its report.
#pragma once

#include <cerrno>
#include <cstdint>

namespace qmsd::platform {

class KeepErrors {
 public:
  KeepErrors() noexcept : system_(last_system_error()), runtime_(errno) {}
  ~KeepErrors() {
    errno = runtime_;
    set_last_system_error(system_);
  }
  KeepErrors(const KeepErrors&) = delete;
  KeepErrors& operator=(const KeepErrors&) = delete;

 private:
  // The system's number beside errno; natively there is none, so it is always 0.
  static std::uint32_t last_system_error() noexcept;
  static void set_last_system_error(std::uint32_t code) noexcept;

  const std::uint32_t system_;
  const int runtime_;
};

}  // namespace qmsd::platform
