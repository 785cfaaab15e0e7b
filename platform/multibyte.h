// Narrow and wide text, one character at a time, in whatever locale the runtime has now.
// In the "C" locale bytes and code units 0 to 255 map to each other. No best fit, no "?": a
// character either comes back as it was, or it cannot be converted. Keeps no state and no memory;
// any thread may call it, but not while another changes the locale.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// One whole character: how much of the source it takes and what it becomes.
// A taken count of 0 means that it cannot be converted (or is cut off).
struct WideCharacter {
  std::size_t taken;  // bytes
  std::size_t made;   // units, 1 or 2
  qm_wchar units[2];
};
struct NarrowCharacter {
  std::size_t taken;  // units, 1 or 2
  std::size_t made;   // bytes
  char bytes[16];
};

// What lies beyond ASCII; for the two functions below.
WideCharacter widen_beyond_ascii(const char* source, std::size_t length) noexcept;
NarrowCharacter narrow_beyond_ascii(const qm_wchar* source, std::size_t length) noexcept;

// `length` is above 0; the source needs no terminator. ASCII, the terminator included, is itself in
// every locale that a runtime accepts.
inline WideCharacter widen_character(const char* source, std::size_t length) noexcept {
  const auto byte = static_cast<unsigned char>(*source);
  if (byte < 0x80) return {1, 1, {static_cast<qm_wchar>(byte), 0}};
  return widen_beyond_ascii(source, length);
}
inline NarrowCharacter narrow_character(const qm_wchar* source, std::size_t length) noexcept {
  if (*source < 0x80) return {1, 1, {static_cast<char>(*source)}};
  return narrow_beyond_ascii(source, length);
}

// The character in lower case, in the runtime's current locale.
qm_wchar lower_case(qm_wchar character) noexcept;

}  // namespace qmsd::platform
