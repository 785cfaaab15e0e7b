// What surrounds the tests of files on this system.
#include <cstdlib>

#include "tests/unit/files/files_support.h"

namespace qmsd::test {

void hide(const fs::path& path) { EXPECT_EQ(path.filename().string().front(), '.'); }

void set_variable(const char* name, const char* value) {
  if (value == nullptr) {
    ::unsetenv(name);
  } else {
    ::setenv(name, value, 1);
  }
}

}  // namespace qmsd::test
