// Directories: what is at a path, and making what is missing.
#include "services/files/directories.h"

#include <climits>

#include "tests/support/allocation_failures.h"
#include "tests/unit/files/files_support.h"

namespace qmsd {
namespace {

using test::narrow;
using test::wide;
using test::with_errno;
namespace fs = std::filesystem;

using Answer = std::pair<bool, int>;

class Directories : public test::FolderTest {
 protected:
  static Answer directory(const char* path) {
    return with_errno([path] { return is_directory(wide(path).c_str()); });
  }
  static Answer regular(const char* path) {
    return with_errno([path] { return is_regular_file(wide(path).c_str()); });
  }
  static Answer make(const std::string& path, bool recursive) {
    return with_errno(
        [&path, recursive] { return make_directory(wide(path).c_str(), recursive, 0755); });
  }
};

TEST_F(Directories, AreToldFromFilesAndFromNothing) {
  fs::create_directory("folder");
  make_file("file");
  EXPECT_EQ(directory("folder"), Answer(true, 0));
  EXPECT_EQ(directory("file"), Answer(false, ENOTDIR));
  EXPECT_EQ(directory("missing"), Answer(false, ENOENT));
  EXPECT_EQ(regular("file"), Answer(true, 0));
  EXPECT_EQ(regular("folder"), Answer(false, EISDIR));
  EXPECT_EQ(regular("missing"), Answer(false, ENOENT));
}

TEST_F(Directories, TellAReadOnlyTarget) {
  make_file("file");
  test::make_read_only("file");
  EXPECT_EQ(regular("file"), Answer(true, EACCES));
  EXPECT_EQ(directory("file"), Answer(false, ENOTDIR));
}

TEST_F(Directories, AreMadeOneByOne) {
  EXPECT_EQ(make("a", false), Answer(true, 0));
  EXPECT_EQ(make("a\\b", false), Answer(true, 0));
  EXPECT_TRUE(fs::is_directory("a/b"));
  EXPECT_EQ(make("x\\y", false), Answer(false, ENOENT));
  EXPECT_FALSE(fs::exists("x"));
}

TEST_F(Directories, AreMadeWithTheirParents) {
  EXPECT_EQ(make("a\\b\\c", true), Answer(true, 0));
  EXPECT_EQ(make("a\\b\\d\\e", true), Answer(true, 0));
  EXPECT_EQ(make(narrow(wide(folder().string())) + "\\f\\g", true), Answer(true, 0));
  for (const char* path : {"a/b/c", "a/b/d/e", "f/g"}) EXPECT_TRUE(fs::is_directory(path)) << path;
}

TEST_F(Directories, ExistOnlyOnce) {
  fs::create_directory("a");
  for (const bool recursive : {false, true}) {
    EXPECT_EQ(make("a", recursive), Answer(false, EEXIST));
    EXPECT_EQ(make(".", recursive), Answer(false, EEXIST));
  }
}

TEST_F(Directories, CannotReplaceFilesNorLieBelowThem) {
  make_file("file");
  for (const char* path : {"file", "file\\a", "file\\a\\b"}) {
    EXPECT_EQ(make(path, true), Answer(false, ENOTDIR)) << path;
  }
  EXPECT_EQ(make("file", false), Answer(false, ENOTDIR));
}

TEST_F(Directories, RootsNeedNoMaking) {
  for (const char* path :
       {"", "\\", "C:", "C:\\", "\\\\server", "\\\\server\\share\\", "\\\\?\\"}) {
    EXPECT_TRUE(make(path, true).first) << path;
  }
}

TEST_F(Directories, NoPathIsNoDirectory) {
  EXPECT_EQ(with_errno([] { return make_directory(nullptr, true, 0); }), Answer(false, EINVAL));
}

TEST_F(Directories, ANameMayHaveAnyNumberOfParts) {
  make_file("file");
  std::string path = "file";
  for (int parts = 0; parts < 20000; ++parts) path += "\\x";
  EXPECT_EQ(make(path, true), Answer(false, ENOTDIR));
}

TEST_F(Directories, ReportExhaustedMemory) {
  test::fail_each_allocation([] {
    const Answer answer = make("a\\b\\c", true);
    EXPECT_EQ(answer, test::allocation_refused() ? Answer(false, ENOMEM) : Answer(true, 0));
    fs::remove_all("a");
  });
}

}  // namespace
}  // namespace qmsd
