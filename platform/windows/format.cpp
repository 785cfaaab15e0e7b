// The runtime's own formatting routines under their underscored names: the plain ones are replaced
// by the compiler's C99 versions, in which %s of a wide format means narrow text.
#include "platform/format.h"

#include <clocale>
#include <cstdio>
#include <cwchar>

#include "platform/format_conversion.h"
#include "platform/format_portable.h"

namespace qmsd::platform {
namespace {

// Runtimes in use write beyond their own buffers for integers of more than 22 characters, whether
// these are digits or padding, and take time and memory in proportion to a width, however little
// room there is.
constexpr int kSafeIntegerWidth = 20;
constexpr int kSafeWidth = 500;

bool decimal_point_is_standard() {
  const char* point = std::localeconv()->decimal_point;
  return point[0] == '.' && point[1] == 0;
}

// Whether the runtime does with the conversion what our header promises.
bool runtime_can(const Conversion& conversion) {
  if (conversion.width_from_argument || conversion.precision_from_argument) return false;
  const char32_t type = conversion.type;
  const int safe_width = is_integer_type(type) ? kSafeIntegerWidth : kSafeWidth;
  if (conversion.width > safe_width || conversion.precision > safe_width) return false;
  if (type == 'n' || type == 'F')
    return false;  // it writes through one and does not know the other
  // It puts the padding of some into their midst.
  if (is_floating_type(type)) return !conversion.left && decimal_point_is_standard();
  return true;
}

template <class Char>
bool runtime_can_format(const Char* at) {
  while (*at != 0) {
    if (*at++ != '%') continue;
    if (*at == '%') {
      ++at;
    } else if (!runtime_can(read_conversion(at))) {
      return false;
    }
  }
  return true;
}

int format_by_runtime(wchar_t* buffer, std::size_t length, const wchar_t* format, va_list list) {
  return ::_vsnwprintf(buffer, length, format, list);
}

int format_by_runtime(char* buffer, std::size_t size, const char* format, va_list list) {
  return ::_vsnprintf(buffer, size, format, list);
}

template <class Char>
int format_text(Char* buffer, std::size_t length, const Char* format, va_list arguments) {
  if (length == 0) return -1;
  if (runtime_can_format(format)) {
    va_list copy;
    va_copy(copy, arguments);
    const int written = format_by_runtime(buffer, length, format, copy);
    va_end(copy);
    if (written >= 0 && static_cast<std::size_t>(written) < length) return written;
  }
  // What the runtime leaves in the buffer of a text that it had to cut differs between versions.
  return format_portable(buffer, length, format, arguments);
}

}  // namespace

int format_wide(qm_wchar* buffer, std::size_t length, const qm_wchar* format, va_list arguments) {
  return format_text(buffer, length, format, arguments);
}

int format_narrow(char* buffer, std::size_t size, const char* format, va_list arguments) {
  return format_text(buffer, size, format, arguments);
}

}  // namespace qmsd::platform
