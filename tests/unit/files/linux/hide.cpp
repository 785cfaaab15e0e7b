#include "tests/unit/files/files_support.h"

namespace qmsd::test {

void hide(const fs::path& path) { EXPECT_EQ(path.filename().string().front(), '.'); }

}  // namespace qmsd::test
