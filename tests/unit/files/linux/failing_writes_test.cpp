// Writes that the system refuses: no permission, no room.
#include <sys/resource.h>
#include <csignal>

#include "services/files/whole_file.h"
#include "tests/support/expect_error.h"
#include "tests/unit/files/files_support.h"
#include "tests/unit/files/linux/unprivileged.h"

namespace qmsd {
namespace {

// Files cannot grow beyond this size while this object lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
    const rlimit limit{bytes, before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, signal_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*signal_)(int);
  rlimit before_{};
};

class FailingWrites : public test::FolderTest {
 protected:
  static bool write(const qm_wchar* name, std::string text = "new") {
    qm_file record{text.data(), name, static_cast<std::int32_t>(text.size()), QM_FILE_NAME_WIDE};
    return write_file(&record);
  }

 private:
  test::ErrorState errors_;
};

TEST_F(FailingWrites, AReadOnlyFileStays) {
  make_file("file", "old");
  test::make_read_only("file");
  const test::Unprivileged unprivileged;
  EXPECT_FALSE(write(QM_W("file")));
  EXPECT_ERROR(EACCES, QM_W("(file creation)"));
  EXPECT_EQ(contents("file"), "old");
}

TEST_F(FailingWrites, AReadOnlyDirectoryTakesNothing) {
  std::filesystem::create_directory("folder");
  test::make_read_only("folder");
  const test::Unprivileged unprivileged;
  for (const qm_wchar* name : {QM_W("folder\\file"), QM_W("folder\\new\\file")}) {
    EXPECT_FALSE(write(name));
    EXPECT_ERROR(EACCES, QM_W("(file creation)"));
  }
}

// The stream's buffer takes little texts, so that only the closing meets the limit.
TEST_F(FailingWrites, LeaveNoFile) {
  make_file("replaced", "old");
  const FileSizeLimit limit(2);
  for (const qm_wchar* name : {QM_W("created"), QM_W("replaced")}) {
    EXPECT_FALSE(write(name, std::string(100000, 'x')));
    EXPECT_ERROR(EFBIG, QM_W("(file writing)"));
    EXPECT_FALSE(std::filesystem::exists(test::narrow(name)));
    EXPECT_FALSE(write(name, "small"));
    EXPECT_ERROR(EFBIG, QM_W("(file closing)"));
    EXPECT_FALSE(std::filesystem::exists(test::narrow(name)));
  }
}

TEST_F(FailingWrites, DevicesAreNoFilesToReplace) {
  EXPECT_FALSE(write(QM_W("\\dev\\full")));
  EXPECT_ERROR(EISDIR, QM_W("(file creation)"));
}

}  // namespace
}  // namespace qmsd
