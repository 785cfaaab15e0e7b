// The trace's way out: one line, formatted on the stack.
#include "kernel/base/trace.h"

#ifdef QMSD_TRACE

#include <cstdarg>
#include <cstddef>
#include <cstring>

#include "platform/format.h"
#include "platform/runtime_text.h"

namespace qmsd {

void trace(const char* format, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  platform::format_narrow(line, sizeof line, format, arguments);
  va_end(arguments);
  // The statistics bring a line end of their own.
  const std::size_t length = std::strlen(line);
  if (length != 0 && line[length - 1] == '\n') line[length - 1] = 0;
  platform::write_debug_line(line);
}

}  // namespace qmsd

#endif
