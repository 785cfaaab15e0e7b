#include "toolkit/qmtool/system/program.h"

#include <windows.h>

#include <shellapi.h>

#include <qm/text.hpp>

#include "toolkit/qmtool/system/windows/module_path.h"

namespace qmtool {

// The arguments that the runtime hands to main() have been through the system's code page.
std::vector<std::string> command_line(int, char**) {
  int count = 0;
  LPWSTR* const arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  std::vector<std::string> texts;
  for (int i = 1; i < count; ++i) texts.push_back(qm::to_utf8(arguments[i]));
  ::LocalFree(arguments);
  return texts;
}

std::filesystem::path program_file() { return module_path(nullptr); }

Utf8Console::Utf8Console() : before_(::GetConsoleOutputCP()) { ::SetConsoleOutputCP(CP_UTF8); }

Utf8Console::~Utf8Console() {
  if (before_ != 0) ::SetConsoleOutputCP(before_);
}

}  // namespace qmtool
