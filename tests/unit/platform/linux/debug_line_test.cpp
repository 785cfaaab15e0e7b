// Where a line for the developer goes.
#include <gtest/gtest.h>

#include "platform/runtime_text.h"

namespace qmsd::platform {
namespace {

TEST(DebugLine, GoesToTheErrorStreamWithItsLineEnd) {
  testing::internal::CaptureStderr();
  write_debug_line("one");
  write_debug_line("two");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\ntwo\n");
}

}  // namespace
}  // namespace qmsd::platform
