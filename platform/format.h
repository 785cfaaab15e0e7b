// The runtime's printf rules for narrow and wide text, the same on every system:
// in a wide format %s and %ls take wide text, %S and %hs narrow text; in a narrow format %s and %hs
// take narrow text, %S and %ls wide text. %I64i and %lli take 64 bits, %p prints upper-case
// hexadecimal digits without "0x", a null text prints as "(null)", %n is ignored.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// Always terminates when `length` is above 0. Returns the characters written, or -1 when the text
// was cut or could not be formatted. Numbers have "." as their decimal point whatever the locale.
int format_wide(qm_wchar* buffer, std::size_t length, const qm_wchar* format, va_list arguments);
int format_narrow(char* buffer, std::size_t size, const char* format, va_list arguments);

}  // namespace qmsd::platform
