// Compiles a locale from the system's sources for the length of a test, and sets it. Few machines
// have more than the C locale and UTF-8.
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {

class MadeLocale {
 public:
  MadeLocale(const std::string& language, const std::string& charset)
      : place_("LOCPATH", folder_.path().c_str()) {
    const std::string name = language + '.' + charset;
    const std::string command = "localedef -i " + language + " -f " + charset + " '" +
                                (folder_.path() / name).string() + "' 2>/dev/null";
    made_ = std::system(command.c_str()) == 0 && std::setlocale(LC_ALL, name.c_str()) != nullptr;
  }
  ~MadeLocale() { std::setlocale(LC_ALL, "C"); }
  MadeLocale(const MadeLocale&) = delete;
  MadeLocale& operator=(const MadeLocale&) = delete;

  bool made() const { return made_; }

 private:
  TemporaryFolder folder_;
  VariableGuard place_;
  bool made_ = false;
};

}  // namespace qmsd::platform
