// The runtime's printf rules for narrow and wide text, the same on every system:
// in a wide format %s and %ls take wide text, %S and %hs narrow text; in a narrow format %s and %hs
// take narrow text, %S and %ls wide text. %I64i and %lli take 64 bits, %li takes a long, %p prints
// upper-case hexadecimal digits without "0x", exponents have three digits, ties round away from
// zero, a null text prints as "(null)", an unknown conversion prints its letter, %n is ignored.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// Always terminates when `length` is above 0, and writes nothing otherwise. Returns the characters
// written, or -1 when the text was cut or could not be formatted (`length` 0 included); the buffer
// then holds what fits. Numbers have "." as their decimal point whatever the locale; text of the
// other kind is converted in the runtime's current locale. `arguments` is indeterminate afterwards,
// as after any use; a precision bounds what is read of a text. Time is bounded by the format, the
// texts and the room, not by widths and precisions.
int format_wide(qm_wchar* buffer, std::size_t length, const qm_wchar* format, va_list arguments);
int format_narrow(char* buffer, std::size_t size, const char* format, va_list arguments);

}  // namespace qmsd::platform
