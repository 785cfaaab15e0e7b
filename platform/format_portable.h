// printf by the Windows runtime's rules without its help: the native build's formatter, and on
// Windows the stand-in for what that runtime gets wrong.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// As format_wide() and format_narrow(); `length` is above 0. What has to be converted between
// narrow and wide is written up to the first character that has no other form; the result is -1
// then.
int format_portable(qm_wchar* buffer, std::size_t length, const qm_wchar* format,
                    va_list arguments);
int format_portable(char* buffer, std::size_t length, const char* format, va_list arguments);

}  // namespace qmsd::platform
