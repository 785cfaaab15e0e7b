// Writes that the system refuses: no permission, no room.
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <csignal>

#include "services/files/whole_file.h"
#include "tests/support/expect_error.h"
#include "tests/unit/files/files_support.h"

namespace qmsd {
namespace {

// Permission bits bind the superuser, too, while this object lives.
class Unprivileged {
 public:
  Unprivileged() {
    ::syscall(SYS_capget, &header_, before_);
    __user_cap_data_struct none[2] = {before_[0], before_[1]};
    none[0].effective = none[1].effective = 0;
    EXPECT_EQ(::syscall(SYS_capset, &header_, none), 0);
  }
  ~Unprivileged() { EXPECT_EQ(::syscall(SYS_capset, &header_, before_), 0); }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct before_[2]{};
};

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
  const Unprivileged unprivileged;
  EXPECT_FALSE(write(QM_W("file")));
  EXPECT_ERROR(EACCES, QM_W("(file creation)"));
  EXPECT_EQ(contents("file"), "old");
}

TEST_F(FailingWrites, AReadOnlyDirectoryTakesNothing) {
  std::filesystem::create_directory("folder");
  test::make_read_only("folder");
  const Unprivileged unprivileged;
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

TEST_F(FailingWrites, WhatHasNoSizeCannotBeRead) {
  qm_file record{nullptr, QM_W("\\dev\\stdin"), 0, QM_FILE_NAME_WIDE};
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const int standard_input = ::dup(STDIN_FILENO);
  ::dup2(ends[0], STDIN_FILENO);
  EXPECT_FALSE(read_file(&record));
  ::dup2(standard_input, STDIN_FILENO);
  for (const int file : {ends[0], ends[1], standard_input}) ::close(file);
  EXPECT_ERROR(ESPIPE, QM_W("(file)"));
  EXPECT_EQ(record.size, -1);
}

}  // namespace
}  // namespace qmsd
