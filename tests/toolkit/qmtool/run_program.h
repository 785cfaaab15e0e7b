// Runs a program with the test's current directory and environment, and keeps what it prints.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qmtool_test {

struct ProgramRun {
  int exit_code;       // -1 when it crashed
  std::string output;  // standard output, with line ends as on Linux
  std::string errors;  // standard error
};

// The arguments are UTF-8.
ProgramRun run_program(const std::filesystem::path& program,
                       const std::vector<std::string>& arguments);

}  // namespace qmtool_test
