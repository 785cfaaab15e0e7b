// Files that somebody else has open. On Windows whoever opens a file may keep others from it;
// natively even a lock keeps out only those who ask for it.
#include <string>
#include <utility>

#include "tests/contract/support/file_test.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace contract {
namespace {

enum class Shared { not_at_all, for_reading, for_all };

#ifdef _WIN32

constexpr bool kKeepsOthersOut = true;

class OpenElsewhere {
 public:
  OpenElsewhere(const std::filesystem::path& file, Shared shared)
      : handle_(::CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, mode(shared), nullptr,
                              OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE) << ::GetLastError();
  }
  ~OpenElsewhere() { ::CloseHandle(handle_); }
  OpenElsewhere(const OpenElsewhere&) = delete;
  OpenElsewhere& operator=(const OpenElsewhere&) = delete;

 private:
  static DWORD mode(Shared shared) {
    if (shared == Shared::not_at_all) return 0;
    return shared == Shared::for_reading ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_WRITE;
  }

  HANDLE handle_;
};

#else

constexpr bool kKeepsOthersOut = false;

class OpenElsewhere {
 public:
  OpenElsewhere(const std::filesystem::path& file, Shared shared)
      : descriptor_(::open(file.c_str(), O_RDWR | O_CLOEXEC)) {
    EXPECT_EQ(::flock(descriptor_, shared == Shared::not_at_all ? LOCK_EX : LOCK_SH), 0);
  }
  ~OpenElsewhere() { ::close(descriptor_); }
  OpenElsewhere(const OpenElsewhere&) = delete;
  OpenElsewhere& operator=(const OpenElsewhere&) = delete;

 private:
  int descriptor_;
};

#endif

class FilesInUse : public FileTest {
 protected:
  void expect_read(bool allowed) {
    if (allowed) {
      EXPECT_EQ(read("file"), "old");
    } else {
      EXPECT_TRUE(unreadable(reading("file"), failure(13, "(file)"), -1));
    }
  }
  void expect_write(bool allowed) {
    if (allowed) {
      EXPECT_TRUE(write("file", "new"));
    } else {
      EXPECT_TRUE(unwritable("file", "new", failure(13, "(file creation)")));
    }
  }
};

TEST_F(FilesInUse, AreReadAndReplacedAsFarAsTheirUserAllows) {
  const struct {
    Shared shared;
    bool for_reading;
    bool for_writing;
  } kUses[] = {{Shared::not_at_all, false, false},
               {Shared::for_reading, true, false},
               {Shared::for_all, true, true}};
  for (const auto& use : kUses) {
    SCOPED_TRACE(static_cast<int>(use.shared));
    const bool may_write = use.for_writing || !kKeepsOthersOut;
    make_file("file", "old");
    {
      const OpenElsewhere elsewhere(folder().file("file"), use.shared);
      expect_read(use.for_reading || !kKeepsOthersOut);
      expect_write(may_write);
    }
    EXPECT_EQ(contents("file"), may_write ? "new" : "old") << "a file that is refused stays";
  }
}

TEST_F(FilesInUse, AreFreeAgainAfterEachCall) {
  EXPECT_TRUE(write("file", "text"));
  { const OpenElsewhere elsewhere(folder().file("file"), Shared::not_at_all); }
  EXPECT_EQ(read("file"), "text");
  { const OpenElsewhere elsewhere(folder().file("file"), Shared::not_at_all); }
  std::filesystem::remove(folder().file("file"));
  EXPECT_FALSE(exists("file"));
}

}  // namespace
}  // namespace contract
