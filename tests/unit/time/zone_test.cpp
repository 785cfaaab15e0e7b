#include "variant/time/zone.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "platform/time_zone.h"

namespace qmsd {
namespace {

TEST(Zone, IsNeverADayAway) { EXPECT_LT(std::abs(platform::zone_offset_now()), 86'400); }

TEST(Zone, IsTheSameForEveryThread) {
  std::vector<std::int32_t> answers(8);
  std::vector<std::thread> threads;
  for (std::int32_t& answer : answers) {
    threads.emplace_back([&answer] { answer = local_zone_offset(); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::int32_t answer : answers) EXPECT_EQ(answer, local_zone_offset());
}

}  // namespace
}  // namespace qmsd
