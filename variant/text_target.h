// Text as the target of a conversion.
#pragma once

#include <cstdint>
#include <string_view>

#include "services/text/text.h"

namespace qmsd {

// All return the characters written, terminator included. Capacities are bytes, above 0; wide ones
// hold at least one character. The buffer's last element is always made zero.

// Writes at most `width` characters, as the runtime's counted print does: a text that fills the
// width gets no terminator of its own, and what lies behind it in the buffer stays.
std::int32_t write_counted(char* buffer, std::int32_t capacity, std::int32_t width,
                           std::string_view text);
std::int32_t write_narrow(char* buffer, std::int32_t capacity, std::string_view text);
std::int32_t write_wide(qm_wchar* buffer, std::int32_t capacity, std::string_view ascii);
std::int32_t write_wide(qm_wchar* buffer, std::int32_t capacity, WideView text);
// Cut between code points; unpaired surrogates become U+FFFD.
std::int32_t write_utf8(char* buffer, std::int32_t capacity, WideView text);

}  // namespace qmsd
