// Writes that the system refuses: no drive, no room.
#include <windows.h>

#include "services/files/directories.h"
#include "services/files/whole_file.h"
#include "tests/support/expect_error.h"
#include "tests/unit/files/files_support.h"

namespace qmsd {
namespace {

// The last drive without anything behind it.
std::string missing_drive() {
  char letter = 'Y';
  while ((::GetLogicalDrives() >> (letter - 'A') & 1) != 0) --letter;
  return {letter, ':', '\\'};
}

// Starts a program of the system that Wine runs on, which cannot be waited for. False on Windows.
bool run_below(const wchar_t* program, std::wstring command) {
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  return ::CreateProcessW(program, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &start, &process) != FALSE;
}

// A file in the current folder without room for anything: a link to a device of the system below.
class FullFile {
 public:
  FullFile() : is_there_(run_below(L"Z:\\bin\\ln", L"ln -s /dev/full full") && becomes(true)) {}
  ~FullFile() {
    if (!is_there_) return;
    EXPECT_TRUE(run_below(L"Z:\\bin\\rm", L"rm full") && becomes(false));
  }
  FullFile(const FullFile&) = delete;
  FullFile& operator=(const FullFile&) = delete;

  bool is_there() const { return is_there_; }

 private:
  static bool becomes(bool there) {
    constexpr int kPatience = 1000;
    for (int times = 0; times < kPatience; ++times, ::Sleep(10)) {
      if (can_be_opened() == there) return true;
    }
    return false;
  }
  static bool can_be_opened() {
    const HANDLE file =
        ::CreateFileW(L"full", GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    return file != INVALID_HANDLE_VALUE && ::CloseHandle(file);
  }

  bool is_there_;
};

class FailingWrites : public test::FolderTest {
 protected:
  static bool write(const std::string& name, std::string text) {
    qm_file record{text.data(), name.c_str(), static_cast<std::int32_t>(text.size()),
                   QM_FILE_NAME_NARROW};
    return write_file(&record);
  }

 private:
  test::ErrorState errors_;
};

TEST_F(FailingWrites, ADriveIsNotMade) {
  for (const char* name : {"file", "new\\file", "new\\deep\\file"}) {
    EXPECT_FALSE(write(missing_drive() + name, "x"));
    EXPECT_ERROR(ENOENT, QM_W("(file creation)"));
  }
  const auto below = test::wide(missing_drive() + "new\\deep");
  EXPECT_EQ(test::with_errno([&below] { return make_directory(below.c_str(), true, 0); }),
            std::pair(false, ENOENT));
}

TEST_F(FailingWrites, NamesThatCannotBeAreRefused) {
  EXPECT_FALSE(write("a?b", "x"));
  EXPECT_ERROR(EINVAL, QM_W("(file creation)"));
}

// The stream's buffer takes little texts, so that only the closing finds the disk full.
TEST_F(FailingWrites, AFullDiskIsReported) {
  const FullFile full;
  if (!full.is_there()) GTEST_SKIP() << "there is no system below that has such a file";
  EXPECT_FALSE(write("full", std::string(100000, 'x')));
  EXPECT_ERROR(ENOSPC, QM_W("(file writing)"));
  EXPECT_FALSE(write("full", "small"));
  EXPECT_ERROR(ENOSPC, QM_W("(file closing)"));
}

}  // namespace
}  // namespace qmsd
