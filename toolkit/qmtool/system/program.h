// What this program knows of itself.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qmtool {

// The command line in UTF-8, without the program's name.
std::vector<std::string> command_line(int count, char** arguments);

std::filesystem::path program_file();

// Lets a console show UTF-8 while this object lives.
class Utf8Console {
 public:
  Utf8Console();
  ~Utf8Console();
  Utf8Console(const Utf8Console&) = delete;
  Utf8Console& operator=(const Utf8Console&) = delete;

 private:
  unsigned before_ = 0;
};

}  // namespace qmtool
