#include "platform/runtime_text.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/format.h"
#include "platform/keep_errors.h"
#include "platform/multibyte.h"

namespace qmsd::platform {
namespace {

void format_once(qm_wchar* buffer, std::size_t length, const qm_wchar* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  format_wide(buffer, length, format, arguments);
  va_end(arguments);
}

}  // namespace

void runtime_error_text(int code, char* buffer, std::size_t size) noexcept {
  const KeepErrors keep;
  buffer[0] = 0;
  if (::strerror_s(buffer, size, code) != 0) buffer[0] = 0;
}

void warm_up_runtime() noexcept {
  char text[64];
  runtime_error_text(0, text, sizeof text);
  qm_wchar wide[64];
  format_once(wide, 64, QM_W("%hs %g"), text, 0.5);
  const qm_wchar beyond_ascii[] = {0xE9};
  narrow_character(beyond_ascii, 1);
}

void write_debug_line(const char* line) noexcept {
  const KeepErrors keep;
  // In one piece, so that the lines of several threads do not mix.
  char text[1024];
  char* end = std::copy_n(line, std::min(std::strlen(line), sizeof text - 2), text);
  *end++ = '\n';
  *end = 0;
  ::OutputDebugStringA(text);
}

}  // namespace qmsd::platform
