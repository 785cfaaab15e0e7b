// Wide text as the kernel's callers hold it, and the runtime's own words for an error code.
#pragma once

#include <string>
#include <string_view>

#include "include/qmsd7.h"

namespace contract {

using Text = std::basic_string<qm_wchar>;
using TextView = std::basic_string_view<qm_wchar>;

// Converts in the runtime's current locale; stops at the first byte that is no text.
Text widen(std::string_view narrow);
// ASCII as it is, everything else as \uXXXX: for messages and for comparing file names.
std::string printable(TextView text);

// printf for wide results; the arguments are narrow.
#if defined(__MINGW32__)
__attribute__((format(gnu_printf, 1, 2)))
#else
__attribute__((format(printf, 1, 2)))
#endif
Text text_of(const char* format, ...);

// A pointer as the kernel's messages show it: upper-case hexadecimal, all digits, no "0x".
std::string pointer_digits(const void* pointer);

// What the runtime library says about an errno value.
Text runtime_text(int code);

}  // namespace contract
