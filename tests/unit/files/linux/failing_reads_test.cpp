// Reads that the system refuses, or gives less to than it promised.
#include <unistd.h>

#include "services/files/whole_file.h"
#include "tests/support/expect_error.h"
#include "tests/support/poison.h"
#include "tests/unit/files/files_support.h"
#include "tests/unit/files/linux/unprivileged.h"

namespace qmsd {
namespace {

class FailingReads : public test::FolderTest {
 protected:
  static void expect_unreadable(const qm_wchar* name, std::int32_t code) {
    auto record = test::poisoned<qm_file>();
    record.filename = name;
    record.kind = QM_FILE_NAME_WIDE;
    EXPECT_FALSE(read_file(&record));
    EXPECT_ERROR(code, QM_W("(file)"));
    EXPECT_EQ(record.size, -1);
    EXPECT_EQ(record.data, nullptr);
  }

 private:
  test::ErrorState errors_;
};

TEST_F(FailingReads, WhatMayNotBeReadIsDenied) {
  make_file("file");
  std::filesystem::permissions("file", std::filesystem::perms::owner_write);
  const test::Unprivileged unprivileged;
  expect_unreadable(QM_W("file"), EACCES);
}

TEST_F(FailingReads, WhatHasNoSizeIsRefused) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const int standard_input = ::dup(STDIN_FILENO);
  ::dup2(ends[0], STDIN_FILENO);
  expect_unreadable(QM_W("\\dev\\stdin"), ESPIPE);
  ::dup2(standard_input, STDIN_FILENO);
  for (const int file : {ends[0], ends[1], standard_input}) ::close(file);
}

// The system makes this file up as it is read, and says that it is a page long.
TEST_F(FailingReads, WhatEndsBeforeItsSizeIsRefused) {
  ASSERT_EQ(std::filesystem::file_size("/sys/devices/system/cpu/online"), 4096u);
  expect_unreadable(QM_W("\\sys\\devices\\system\\cpu\\online"), QM_ERROR_SHORT_READ);
}

}  // namespace
}  // namespace qmsd
