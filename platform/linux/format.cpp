// No runtime routine formats 16-bit text here.
#include "platform/format.h"

#include "platform/format_portable.h"

namespace qmsd::platform {

int format_wide(qm_wchar* buffer, std::size_t length, const qm_wchar* format, va_list arguments) {
  return length == 0 ? -1 : format_portable(buffer, length, format, arguments);
}

int format_narrow(char* buffer, std::size_t size, const char* format, va_list arguments) {
  return size == 0 ? -1 : format_portable(buffer, size, format, arguments);
}

}  // namespace qmsd::platform
