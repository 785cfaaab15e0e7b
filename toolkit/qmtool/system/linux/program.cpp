#include "toolkit/qmtool/system/program.h"

namespace qmtool {

std::vector<std::string> command_line(int count, char** arguments) {
  return {arguments + 1, arguments + count};
}

std::filesystem::path program_file() { return std::filesystem::read_symlink("/proc/self/exe"); }

// Consoles show UTF-8 here.
Utf8Console::Utf8Console() = default;
Utf8Console::~Utf8Console() = default;

}  // namespace qmtool
