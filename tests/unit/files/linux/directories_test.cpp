// What only this system knows of directories: permission bits, and things that are neither.
#include "services/files/directories.h"

#include <sys/stat.h>

#include "tests/unit/files/files_support.h"

namespace qmsd {
namespace {

using test::with_errno;
namespace fs = std::filesystem;

class DirectoryBits : public test::FolderTest {};

TEST_F(DirectoryBits, FollowTheMaskAndNotTheMode) {
  const mode_t mask = ::umask(0);
  EXPECT_TRUE(make_directory(QM_W("open"), false, 0700));
  EXPECT_TRUE(make_directory(QM_W("parent\\open"), true, 0));
  ::umask(mask);
  for (const char* path : {"open", "parent", "parent/open"}) {
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::all) << path;
  }
}

TEST_F(DirectoryBits, TellAReadOnlyDirectory) {
  fs::create_directory("folder");
  test::make_read_only("folder");
  EXPECT_EQ(with_errno([] { return is_directory(QM_W("folder")); }), std::pair(true, EACCES));
}

TEST_F(DirectoryBits, APipeIsNeitherDirectoryNorFile) {
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  EXPECT_EQ(with_errno([] { return is_directory(QM_W("pipe")); }), std::pair(false, ENOTDIR));
  EXPECT_EQ(with_errno([] { return is_regular_file(QM_W("pipe")); }), std::pair(false, EISDIR));
  EXPECT_EQ(with_errno([] { return make_directory(QM_W("pipe\\x"), true, 0); }),
            std::pair(false, ENOTDIR));
}

}  // namespace
}  // namespace qmsd
