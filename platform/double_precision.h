// Has the thread's x87 unit round to doubles until the end of a scope. In a 32-bit build what comes
// compiled with the toolchain computes with that unit, and how precisely is up to the host.
// Graphics libraries leave it at single precision, runtime libraries often at more than a double's.
#pragma once

#include <cstdint>

namespace qmsd::platform {

class DoublePrecision {
 public:
  DoublePrecision() noexcept : before_(control_word()) {
    set_control_word(static_cast<std::uint16_t>((before_ & ~kPrecision) | kDouble));
  }
  ~DoublePrecision() { set_control_word(before_); }
  DoublePrecision(const DoublePrecision&) = delete;
  DoublePrecision& operator=(const DoublePrecision&) = delete;

 private:
  static constexpr std::uint16_t kPrecision = 0x0300;
  static constexpr std::uint16_t kDouble = 0x0200;

  // Natively nothing computes doubles with that unit, so both do nothing.
  static std::uint16_t control_word() noexcept;
  static void set_control_word(std::uint16_t word) noexcept;

  const std::uint16_t before_;
};

}  // namespace qmsd::platform
