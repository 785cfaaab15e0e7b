// The string primitives: convert, copy, append and format into bounded buffers.
// Buffer sizes count the buffer's own elements, terminator included. Whatever fits is written and
// terminated; only the formatters tell that they cut. A size below 1 writes nothing. No locks, no
// exceptions. Conversion follows the runtime's current locale and stops at the first character that
// has no counterpart or does not fit whole.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "include/qmsd7.h"
#include "services/text/text.h"

namespace qmsd {

// Wide copy of at most as many units as the text has bytes; the unit at the byte length is zero
// too. Null for null and when memory is exhausted (errno 12).
OwnedText wcs_dup_from_mbs(const char* text);

// Exactly sized wide copy. Null with errno 22 for null or text that cannot be converted to its end,
// with errno 12 when memory is exhausted.
OwnedText wcs_from_mbs_alloc(const char* text);

// Elements written, terminator included.
std::size_t mbs_to_wcs(qm_wchar* buffer, std::ptrdiff_t length, const char* text);
std::size_t wcs_to_mbs(char* buffer, std::ptrdiff_t size, const qm_wchar* text);

// Bytes that the whole text takes in narrow form, terminator included; nothing if some character
// of it has no narrow form.
std::optional<std::size_t> narrow_size(WideView text);

// At most min(length - 1, count) characters; count -1 means the whole source, below that none.
qm_wchar* wcs_copy_bounded(qm_wchar* target, std::ptrdiff_t length, const qm_wchar* source,
                           std::ptrdiff_t count = -1);
// Appends behind the target's text; a target without terminator inside its length is left alone.
qm_wchar* wcs_append_bounded(qm_wchar* target, std::ptrdiff_t length, const qm_wchar* source,
                             std::ptrdiff_t count = -1);

// Characters written without the terminator, or -1 when the text was cut or could not be formatted.
// Formats follow the runtime's rules (platform/format.h): in a wide format %s is wide, %hs narrow.
int format_narrow(char* buffer, std::ptrdiff_t size, const char* format, ...);
int format_narrow_list(char* buffer, std::ptrdiff_t size, const char* format, va_list arguments);
int format_wide(qm_wchar* buffer, std::ptrdiff_t length, const qm_wchar* format, ...);
int format_wide_list(qm_wchar* buffer, std::ptrdiff_t length, const qm_wchar* format,
                     va_list arguments);

// A text result of a service: nothing for a null buffer or a length below 1, otherwise the cut text
// with the buffer's last element forced to zero.
void text_result(qm_wchar* buffer, std::int32_t length, const qm_wchar* text);
void text_result(char* buffer, std::int32_t size, const qm_wchar* text);

}  // namespace qmsd
