#include "toolkit/qmtool/system/windows/error_text.h"

#include <windows.h>

#include <qm/text.hpp>

namespace qmtool {

std::string error_text(unsigned long code) {
  wchar_t text[512];
  DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, code, 0, text, std::size(text), nullptr);
  while (length > 0 && text[length - 1] <= L' ') --length;
  return length > 0 ? qm::to_utf8({text, length}) : "error " + std::to_string(code);
}

}  // namespace qmtool
