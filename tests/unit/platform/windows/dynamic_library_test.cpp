// Libraries and directories of the system itself.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

#include "platform/library.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

std::wstring listed_directory(bool& listed) {
  wchar_t buffer[1100];
  listed = listed_system_directory(buffer, 1100);
  return buffer;
}

class DynamicLibrary : public testing::Test {
 protected:
  void SetUp() override {
    library_ = open_library(L"version.dll", failure_);
    ASSERT_TRUE(library_);
  }
  void TearDown() override { close_library(library_); }

  LoadFailure failure_{};
  Library library_;
};

TEST_F(DynamicLibrary, FindsItsNames) {
  EXPECT_NE(find_symbol(library_, "GetFileVersionInfoW"), nullptr);
  EXPECT_EQ(find_symbol(library_, "qmsd_no_such_name"), nullptr);
  EXPECT_EQ(find_symbol(library_, "ExitProcess"), nullptr);
}

TEST_F(DynamicLibrary, KnowsItsFullPath) {
  wchar_t path[512];
  library_path(library_, path, 512);
  EXPECT_TRUE(std::filesystem::path(path).is_absolute());
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(DynamicLibrary, CutsItsPath) {
  wchar_t path[8] = L"~~~~~~~";
  library_path(library_, path, 4);
  EXPECT_LE(std::wstring(path).size(), 3u);
  EXPECT_EQ(path[4], L'~');
}

TEST(LoadFailureWords, ComeEvenWhenTheMessageHasPlacesForInserts) {
  const TemporaryFolder folder;
  const std::filesystem::path file = folder.add_file("bad.dll", "just text");
  LoadFailure failure{};
  EXPECT_FALSE(open_library(file.c_str(), failure));
  EXPECT_NE(failure.text[0], 0);
}

TEST(ListedSystemDirectory, FollowsTheLiveVariable) {
  char before[512];
  ::GetEnvironmentVariableA("SystemRoot", before, sizeof before);
  bool listed = false;
  set_variable("SystemRoot", "X:\\Elsewhere");
  EXPECT_EQ(listed_directory(listed), L"X:\\Elsewhere\\system32");
  EXPECT_TRUE(listed);
  set_variable("SystemRoot", std::string(1023, 'x').c_str());
  EXPECT_EQ(listed_directory(listed).size(), 1032u);
  EXPECT_TRUE(listed);
  set_variable("SystemRoot", std::string(1024, 'x').c_str());
  listed_directory(listed);
  EXPECT_FALSE(listed);
  set_variable("SystemRoot", nullptr);
  EXPECT_EQ(listed_directory(listed), L"");
  EXPECT_FALSE(listed);
  set_variable("SystemRoot", before);
}

}  // namespace
}  // namespace qmsd::platform
