#include "services/text/statistics.h"

#include <cstdarg>
#include <stdexcept>

#include "services/text/strings.h"

namespace qmsd {

qmString statistics_line(const char* format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  const int length = format_narrow_list(text, sizeof text, format, arguments);
  va_end(arguments);
  qmString line;
  if (length <= 0 || !line.assign(text)) throw std::runtime_error("Error during formatting.");
  return line;
}

}  // namespace qmsd
