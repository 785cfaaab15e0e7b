// What a library needs in order to be loaded: the libraries that it imports, what those import in
// turn, and the names that they must export. Read from the files alone; nothing is loaded.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/qmtool/image/image.h"

namespace qmtool {

struct FoundImport {
  std::string library;
  std::filesystem::path file;  // empty for what the system serves without a file
};

struct ImportProblem {
  enum class Kind {
    missing,   // there is no such file
    unfit,     // the file cannot be loaded by this system
    function,  // the file does not export `name`
  };
  Kind kind;
  std::string library;                 // for functions of Linux, which belong to no library, empty
  std::string name;                    // of a missing function
  std::string detail;                  // of an unfit file: follows "the file "
  std::filesystem::path file;          // of an unfit file, or one that lies where nobody looks
  std::vector<std::string> wanted_by;  // from the library itself down to the one with this import
};

struct ImportReport {
  std::vector<FoundImport> found;
  std::vector<ImportProblem> problems;
};

ImportReport check_imports(const std::filesystem::path& library, const Image& image);

}  // namespace qmtool
