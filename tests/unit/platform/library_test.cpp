#include "platform/library.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/test_hooks.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

using WideString = std::basic_string<qm_wchar>;

WideString file_name(const char* name) {
  const std::string_view ascii = name;
  return WideString(ascii.begin(), ascii.end()) + kLibraryExtension;
}

WideString words_of_failure(const WideString& file) {
  LoadFailure failure;
  std::memset(&failure, 0x7E, sizeof failure);
  EXPECT_FALSE(open_library(file.c_str(), failure));
  const std::basic_string_view<qm_wchar> text(failure.text, 512);
  EXPECT_NE(text.find(qm_wchar{0}), text.npos);
  return failure.text;
}

WideString system_directory_text(std::size_t room = 512) {
  WideString buffer(room + 1, QM_W('~'));
  system_directory(buffer.data(), room);
  EXPECT_EQ(buffer[room], QM_W('~'));
  return buffer.c_str();
}

class OtherSystemDirectory {
 public:
  explicit OtherSystemDirectory(const qm_wchar* directory) { set_system_directory(directory); }
  ~OtherSystemDirectory() { set_system_directory(nullptr); }
  OtherSystemDirectory(const OtherSystemDirectory&) = delete;
  OtherSystemDirectory& operator=(const OtherSystemDirectory&) = delete;
};

TEST(Library, SaysWhyAFileIsNotThere) {
  EXPECT_FALSE(words_of_failure(file_name("qmsd_no_such_library")).empty());
}

TEST(Library, SaysWhyAFileIsNoLibrary) {
  const TemporaryFolder folder;
  const CurrentFolderGuard here(folder.path());
  folder.add_file(std::filesystem::path(file_name("qmsd_not_a_library")), "just text");
  const WideString words = words_of_failure(file_name("qmsd_not_a_library"));
  EXPECT_FALSE(words.empty());
  EXPECT_NE(words, words_of_failure(file_name("qmsd_no_such_library")));
}

TEST(Library, RefusesAnEmptyName) { EXPECT_FALSE(words_of_failure({}).empty()); }

TEST(Library, RefusesNamesTooLongForAnySystem) {
  EXPECT_FALSE(words_of_failure(WideString(40000, QM_W('x'))).empty());
}

TEST(Library, ClosingNoneIsAllowed) { close_library({}); }

TEST(Library, ItsSystemDirectoryEndsWithoutSeparator) {
  const WideString directory = system_directory_text();
  ASSERT_FALSE(directory.empty());
  EXPECT_NE(directory.back(), QM_W('\\'));
  EXPECT_NE(directory.back(), QM_W('/'));
}

TEST(Library, ItsSystemDirectoryIsWholeOrEmpty) {
  const WideString directory = system_directory_text();
  EXPECT_EQ(system_directory_text(directory.size() + 1), directory);
  EXPECT_EQ(system_directory_text(directory.size()), WideString());
}

TEST(Library, TestsMayMoveTheSystemDirectory) {
  const WideString before = system_directory_text();
  {
    const OtherSystemDirectory other(QM_W("somewhere"));
    EXPECT_EQ(system_directory_text(), QM_W("somewhere"));
    EXPECT_EQ(system_directory_text(9), WideString());
    qm_wchar listed[64];
    EXPECT_TRUE(listed_system_directory(listed, 64));
    EXPECT_EQ(WideString(listed), QM_W("somewhere"));
  }
  EXPECT_EQ(system_directory_text(), before);
}

TEST(Library, KnowsItsExecutable) {
  char name[1024];
  const std::size_t length = executable_name(name, sizeof name);
  EXPECT_EQ(length, std::strlen(name));
  EXPECT_NE(std::string_view(name).find("unit_platform"), std::string_view::npos);
}

TEST(Library, CutsItsExecutablesName) {
  char name[8];
  std::memset(name, '~', sizeof name);
  EXPECT_EQ(executable_name(name, 5), 4u);
  EXPECT_EQ(std::strlen(name), 4u);
  EXPECT_EQ(name[5], '~');
}

TEST(Library, TestsMayHideItsExecutable) {
  char name[8] = "before";
  hide_executable_name(true);
  EXPECT_EQ(executable_name(name, sizeof name), 0u);
  EXPECT_STREQ(name, "");
  hide_executable_name(false);
  EXPECT_NE(executable_name(name, sizeof name), 0u);
}

}  // namespace
}  // namespace qmsd::platform
