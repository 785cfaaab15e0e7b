// A folder of its own for each test of files, and wide text for what is in it.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "tests/support/wide_text.h"

namespace qmsd::test {

namespace fs = std::filesystem;

// The tests' names are ASCII.
inline WideString wide(const std::string& text) { return {text.begin(), text.end()}; }
inline std::string narrow(const WideString& text) { return {text.begin(), text.end()}; }

// Natively the name has to begin with a dot, which hides it already.
void hide(const fs::path& path);

// In the live environment; null removes the variable.
void set_variable(const char* name, const char* value);

inline void make_read_only(const fs::path& path) {
  constexpr auto kWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  fs::permissions(path, kWrite, fs::perm_options::remove);
}

// What a call left in errno: its result and the number together, before anything disturbs it.
template <class Call>
auto with_errno(Call call) {
  errno = -1;
  const auto result = call();
  return std::pair(result, errno);
}

// An empty folder that is the current one as long as the test runs.
class FolderTest : public testing::Test {
 protected:
  FolderTest() : before_(fs::current_path()) {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = "files_" + std::to_string(getpid()) + "_" + test->name();
    std::replace(name.begin(), name.end(), '/', '_');  // of a parameter
    folder_ = before_ / name;
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    fs::current_path(folder_);
  }
  ~FolderTest() override {
    fs::current_path(before_);
    make_writable(folder_);
    std::error_code problem;
    fs::remove_all(folder_, problem);
    EXPECT_FALSE(problem) << problem.message();
  }

  static void make_file(const fs::path& path, const std::string& text = "x") {
    std::ofstream(path, std::ios::binary) << text;
  }
  static std::string contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  const fs::path& folder() const { return folder_; }

 private:
  static void make_writable(const fs::path& top) {
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
      if (!entry.is_symlink())
        fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
    }
  }

  fs::path before_;
  fs::path folder_;
};

}  // namespace qmsd::test
