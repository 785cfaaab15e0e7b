// Whole files of the system, and what is at a path.
#include "platform/file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/support/wide_text.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

using test::WideString;

class FileTest : public testing::Test {
 protected:
  WideString path(const std::string& name) const {
    const std::string whole = (folder_.path() / name).string();
    WideString wide(whole.begin(), whole.end());
    for (qm_wchar& unit : wide) unit = unit == '/' ? qm_wchar{'\\'} : unit;
    return wide;
  }
  TemporaryFolder folder_;
};

TEST_F(FileTest, ComesBackAsItWasWritten) {
  const std::string text("line\r\nline\n\x1A\0end", 16);
  OutputFile out;
  ASSERT_EQ(out.open(path("file").c_str()), 0);
  EXPECT_EQ(out.write(text.data(), text.size()), 0);
  EXPECT_EQ(out.close(), 0);

  InputFile in;
  ASSERT_EQ(in.open(path("file").c_str()), 0);
  std::int64_t size = 0;
  EXPECT_EQ(in.size(size), 0);
  EXPECT_EQ(size, 16);
  std::string read(20, '~');
  EXPECT_EQ(in.read(read.data(), 16), 16u);
  EXPECT_EQ(read, text + "~~~~");
  EXPECT_EQ(in.read(read.data(), 1), 0u);
}

TEST_F(FileTest, IsEmptiedByReplacing) {
  folder_.add_file("file", "contents");
  {
    OutputFile out;
    ASSERT_EQ(out.open(path("file").c_str()), 0);
    EXPECT_EQ(out.write("", 0), 0);
  }
  EXPECT_EQ(std::filesystem::file_size(folder_.path() / "file"), 0u);
}

TEST_F(FileTest, IsCountedInSixtyFourBits) {
  const auto place = folder_.add_file("large");
  std::filesystem::resize_file(place, 0x100000005);
  InputFile in;
  ASSERT_EQ(in.open(path("large").c_str()), 0);
  std::int64_t size = 0;
  EXPECT_EQ(in.size(size), 0);
  EXPECT_EQ(size, 0x100000005);
}

TEST_F(FileTest, CannotBeMissing) {
  EXPECT_EQ(InputFile().open(path("none").c_str()), ENOENT);
  EXPECT_EQ(InputFile().open(path("none\\file").c_str()), ENOENT);
  EXPECT_EQ(InputFile().open(QM_W("")), ENOENT);
  EXPECT_EQ(OutputFile().open(path("none\\file").c_str()), ENOENT);
  EXPECT_EQ(OutputFile().open(QM_W("")), ENOENT);
}

TEST_F(FileTest, CannotBeADirectory) {
  InputFile in;
  int error = in.open(path("").c_str());
  std::int64_t size = 0;
  if (error == 0) error = in.size(size);
  EXPECT_EQ(error, EACCES);
  EXPECT_EQ(OutputFile().open(path("").c_str()), EACCES);
}

TEST_F(FileTest, ClosesOnlyOnce) {
  OutputFile out;
  EXPECT_EQ(out.close(), 0);
  ASSERT_EQ(out.open(path("file").c_str()), 0);
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(out.close(), 0);
}

TEST_F(FileTest, HasAStatus) {
  folder_.add_file("file");
  FileStatus status{};
  EXPECT_EQ(query_status(path("file").c_str(), status), 0);
  EXPECT_TRUE(status.is_regular && !status.is_directory && status.is_owner_writable);
  constexpr auto kWrite = std::filesystem::perms::owner_write |
                          std::filesystem::perms::group_write |
                          std::filesystem::perms::others_write;
  std::filesystem::permissions(folder_.path() / "file", kWrite,
                               std::filesystem::perm_options::remove);
  EXPECT_EQ(query_status(path("file").c_str(), status), 0);
  EXPECT_FALSE(status.is_owner_writable);
  std::filesystem::permissions(folder_.path() / "file", kWrite, std::filesystem::perm_options::add);
  EXPECT_EQ(create_directory(path("folder").c_str()), 0);
  EXPECT_EQ(query_status(path("folder").c_str(), status), 0);
  EXPECT_TRUE(status.is_directory && !status.is_regular);
  EXPECT_EQ(query_status(path("none").c_str(), status), ENOENT);
}

TEST_F(FileTest, DirectoriesAreMadeOnceAndUnderAParent) {
  EXPECT_EQ(create_directory(path("new").c_str()), 0);
  EXPECT_EQ(create_directory(path("new").c_str()), EEXIST);
  EXPECT_EQ(create_directory(path("none\\new").c_str()), ENOENT);
}

TEST_F(FileTest, IsRemovedOnce) {
  folder_.add_file("file");
  EXPECT_EQ(remove_file(path("file").c_str()), 0);
  EXPECT_EQ(remove_file(path("file").c_str()), ENOENT);
}

}  // namespace
}  // namespace qmsd::platform
