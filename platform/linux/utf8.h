// File names and variables are bytes here, UTF-8 by convention, whatever the locale. Other bytes
// become the lone surrogates 0xDC80 to 0xDCFF, so that every name survives the round trip.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// Both always terminate (the room is above 0), cut between characters, and return false when they
// had to cut. Other lone surrogates end a narrow text: it counts as cut.
bool widen_utf8(const char* text, qm_wchar* buffer, std::size_t length) noexcept;
bool narrow_utf8(const qm_wchar* text, char* buffer, std::size_t size) noexcept;

}  // namespace qmsd::platform
