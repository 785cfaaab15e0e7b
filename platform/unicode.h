// UTF-8 and UTF-16, one code point at a time. Pure, and the same on every system.
#pragma once

#include <cstddef>
#include <string_view>

#include "include/qmsd7.h"

namespace qmsd::platform {

struct CodePoint {
  char32_t value;
  std::size_t taken;  // units of the source; 0 when it does not begin with a code point
};

constexpr bool is_surrogate(char32_t point) noexcept { return point >= 0xD800 && point <= 0xDFFF; }

// Strict: no overlong forms, no surrogates, nothing cut off. The text is not empty.
constexpr CodePoint decode_utf8(std::string_view text) noexcept {
  constexpr CodePoint kMalformed{0, 0};
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};  // by length
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC0 || lead > 0xF7) return kMalformed;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (text.size() < length) return kMalformed;
  char32_t point = lead & (0x7F >> length);
  for (const char trail : text.substr(1, length - 1)) {
    if ((trail & 0xC0) != 0x80) return kMalformed;
    point = point << 6 | (trail & 0x3F);
  }
  const bool is_valid = point >= kSmallest[length] && point <= 0x10FFFF && !is_surrogate(point);
  return is_valid ? CodePoint{point, length} : kMalformed;
}

// A surrogate without its other half is no code point. The text is not empty.
constexpr CodePoint decode_utf16(std::basic_string_view<qm_wchar> text) noexcept {
  const char32_t first = text[0];
  if (!is_surrogate(first)) return {first, 1};
  const char32_t second = text.size() > 1 ? text[1] : 0;
  const bool is_pair = first < 0xDC00 && second >= 0xDC00 && is_surrogate(second);
  if (!is_pair) return {0, 0};
  return {0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF), 2};
}

// Both return the units written. UTF-8 takes any code point; UTF-16 writes none for what is none.
constexpr std::size_t encode_utf8(char32_t point, char (&bytes)[4]) noexcept {
  if (point < 0x80) {
    bytes[0] = static_cast<char>(point);
    return 1;
  }
  const std::size_t length = point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
  for (std::size_t at = length; --at > 0; point >>= 6) {
    bytes[at] = static_cast<char>(0x80 | (point & 0x3F));
  }
  bytes[0] = static_cast<char>((0xF00 >> length & 0xFF) | point);
  return length;
}
constexpr std::size_t encode_utf16(char32_t point, qm_wchar (&units)[2]) noexcept {
  if (point > 0x10FFFF || is_surrogate(point)) return 0;
  if (point < 0x10000) {
    units[0] = static_cast<qm_wchar>(point);
    return 1;
  }
  units[0] = static_cast<qm_wchar>(0xD800 + ((point - 0x10000) >> 10));
  units[1] = static_cast<qm_wchar>(0xDC00 + (point & 0x3FF));
  return 2;
}

}  // namespace qmsd::platform
