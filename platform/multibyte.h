// Narrow and wide text, one character at a time, in whatever locale the runtime has now.
// In the "C" locale bytes and code units 0 to 255 map to each other.
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

// `length` is above 0; the source needs no terminator.
WideCharacter widen_character(const char* source, std::size_t length) noexcept;
NarrowCharacter narrow_character(const qm_wchar* source, std::size_t length) noexcept;

}  // namespace qmsd::platform
