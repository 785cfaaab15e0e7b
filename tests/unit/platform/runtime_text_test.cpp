#include "platform/runtime_text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace qmsd::platform {
namespace {

std::string error_text(int code) {
  char text[256];
  runtime_error_text(code, text, sizeof text);
  return text;
}

TEST(RuntimeText, GivesTheRuntimesWordsForAnError) {
  for (const int code : {ENOENT, ENOMEM, EINVAL, ERANGE}) {
    EXPECT_EQ(error_text(code), std::strerror(code));
    EXPECT_FALSE(error_text(code).empty());
  }
}

TEST(RuntimeText, HasWordsForUnknownErrorsToo) {
  for (const int code : {9999, -1}) EXPECT_FALSE(error_text(code).empty()) << code;
}

TEST(RuntimeText, CutsAndTerminates) {
  char buffer[12];
  for (std::size_t size = 1; size <= 8; ++size) {
    std::memset(buffer, '~', sizeof buffer);
    runtime_error_text(EINVAL, buffer, size);
    EXPECT_EQ(std::strlen(buffer), size - 1);
    EXPECT_EQ(error_text(EINVAL).substr(0, size - 1), buffer);
    EXPECT_EQ(buffer[size], '~') << size;
  }
}

TEST(RuntimeText, KeepsErrno) {
  errno = ERANGE;
  error_text(9999);
  EXPECT_EQ(errno, ERANGE);
  write_debug_line("RuntimeText.KeepsErrno");
  EXPECT_EQ(errno, ERANGE);
}

TEST(RuntimeText, WarmsUpAnyNumberOfTimes) {
  warm_up_runtime();
  warm_up_runtime();
  EXPECT_FALSE(error_text(EINVAL).empty());
}

TEST(RuntimeText, WritesLinesOfAnyLength) {
  testing::internal::CaptureStderr();
  write_debug_line("");
  write_debug_line(std::string(5000, 'x').c_str());
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace qmsd::platform
