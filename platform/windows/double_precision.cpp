#include "platform/double_precision.h"

namespace qmsd::platform {

std::uint16_t DoublePrecision::control_word() noexcept {
  std::uint16_t word;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}

void DoublePrecision::set_control_word(std::uint16_t word) noexcept {
  asm volatile("fldcw %0" : : "m"(word) : "memory");
}

}  // namespace qmsd::platform
