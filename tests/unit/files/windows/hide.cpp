// Hides files by their attribute.
#include <windows.h>

#include "tests/unit/files/files_support.h"

namespace qmsd::test {

void hide(const fs::path& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  EXPECT_TRUE(::SetFileAttributesW(path.c_str(), attributes | FILE_ATTRIBUTE_HIDDEN));
}

}  // namespace qmsd::test
