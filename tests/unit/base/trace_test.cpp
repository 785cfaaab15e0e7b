#include "kernel/base/trace.h"

#include <gtest/gtest.h>

namespace qmsd {
namespace {

TEST(Trace, SaysNothingUnlessTheBuildAsksForIt) {
  if (kTracing) GTEST_SKIP() << "this build traces";
  testing::internal::CaptureStderr();
  trace("--- %d %s", 1, "line");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace qmsd
