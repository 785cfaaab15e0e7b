// The runtime's own conversion of one character beyond ASCII, whatever it makes of it. Only for
// multibyte.cpp, which sees to it that nothing is merely approximated.
#pragma once

#include "platform/multibyte.h"

namespace qmsd::platform {

WideCharacter runtime_widen(const char* source, std::size_t length) noexcept;
NarrowCharacter runtime_narrow(const qm_wchar* source, std::size_t length) noexcept;

}  // namespace qmsd::platform
