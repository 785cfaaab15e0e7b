// How precisely the calling thread's x87 unit computes, until the end of a scope. Graphics
// libraries leave it at single precision, runtime libraries at a double's or at its full one.
#pragma once

#include <cstdint>

namespace qmsd::test {

enum class Precision : std::uint16_t { single = 0x0000, as_double = 0x0200, full = 0x0300 };
inline constexpr Precision kPrecisions[] = {Precision::single, Precision::as_double,
                                            Precision::full};

class X87Precision {
 public:
  explicit X87Precision(Precision wanted) {
    asm volatile("fnstcw %0" : "=m"(before_));
    const auto others = before_ & ~static_cast<int>(Precision::full);
    const auto control = static_cast<std::uint16_t>(others | static_cast<int>(wanted));
    asm volatile("fldcw %0" : : "m"(control) : "memory");
  }
  ~X87Precision() { asm volatile("fldcw %0" : : "m"(before_) : "memory"); }
  X87Precision(const X87Precision&) = delete;
  X87Precision& operator=(const X87Precision&) = delete;

 private:
  std::uint16_t before_;
};

}  // namespace qmsd::test
