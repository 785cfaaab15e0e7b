// Code points and the one or two UTF-16 units that spell them.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

struct CodePoint {
  char32_t value;
  std::size_t units;  // 0: a lone or cut-off surrogate
};

// `length` is above 0.
constexpr CodePoint decode_utf16(const qm_wchar* source, std::size_t length) noexcept {
  const char32_t first = source[0];
  if ((first & 0xF800) != 0xD800) return {first, 1};
  if ((first & 0xFC00) != 0xD800 || length < 2) return {0, 0};
  const char32_t second = source[1];
  if ((second & 0xFC00) != 0xDC00) return {0, 0};
  return {0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF), 2};
}

// Returns the units written, 0 for what is no character.
constexpr std::size_t encode_utf16(char32_t point, qm_wchar (&units)[2]) noexcept {
  if (point > 0x10FFFF || (point & 0xFFFFF800) == 0xD800) return 0;
  if (point < 0x10000) {
    units[0] = static_cast<qm_wchar>(point);
    return 1;
  }
  units[0] = static_cast<qm_wchar>(0xD800 + ((point - 0x10000) >> 10));
  units[1] = static_cast<qm_wchar>(0xDC00 + (point & 0x3FF));
  return 2;
}

}  // namespace qmsd::platform
