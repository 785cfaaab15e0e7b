// What surrounds the tests of files on this system.
#include <windows.h>

#include "tests/unit/files/files_support.h"

namespace qmsd::test {

// By their attribute.
void hide(const fs::path& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  EXPECT_TRUE(::SetFileAttributesW(path.c_str(), attributes | FILE_ATTRIBUTE_HIDDEN));
}

void set_variable(const char* name, const char* value) { ::SetEnvironmentVariableA(name, value); }

}  // namespace qmsd::test
