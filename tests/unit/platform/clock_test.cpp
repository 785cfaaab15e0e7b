#include "platform/clock.h"

#include <gtest/gtest.h>

#include <thread>

namespace qmsd::platform {
namespace {

TEST(Clock, NeverRunsBackwards) {
  std::int64_t last = monotonic_milliseconds();
  for (int i = 0; i < 10000; ++i) {
    const std::int64_t now = monotonic_milliseconds();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(Clock, SleepsAtLeastAsLongAsAsked) {
  const std::int64_t start = monotonic_milliseconds();
  sleep_milliseconds(30);
  const std::int64_t slept = monotonic_milliseconds() - start;
  EXPECT_GE(slept, 29);
  EXPECT_LT(slept, 5000);
}

TEST(Clock, SleepingForNothingReturnsAtOnce) {
  const std::int64_t start = monotonic_milliseconds();
  sleep_milliseconds(0);
  EXPECT_LT(monotonic_milliseconds() - start, 1000);
}

TEST(Clock, NamesEveryLivingThreadDifferently) {
  const std::uintptr_t here = current_thread_id();
  std::uintptr_t there = 0;
  std::thread([&] { there = current_thread_id(); }).join();
  EXPECT_NE(here, 0u);
  EXPECT_NE(there, 0u);
  EXPECT_NE(here, there);
  EXPECT_EQ(here, current_thread_id());
}

}  // namespace
}  // namespace qmsd::platform
