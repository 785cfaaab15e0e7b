#include "kernel/base/use_count.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

namespace qmsd {
namespace {

TEST(UseCount, IsLoweredWhileUsesRemain) {
  struct {
    std::int32_t uses, by, left;
    bool lowered;
  } const rows[] = {
      {3, 1, 2, true},  {3, 2, 1, true},  {2, 2, 2, false},   {1, 1, 1, false},
      {1, 2, 1, false}, {0, 1, 0, false}, {-1, 1, -1, false}, {INT32_MAX, 1, INT32_MAX - 1, true}};
  for (const auto& row : rows) {
    UseCount uses{row.uses};
    EXPECT_EQ(lower_if_uses_remain(uses, row.by), row.lowered) << row.uses << " by " << row.by;
    EXPECT_EQ(uses, row.left);
  }
}

TEST(UseCount, KeepsOneWhoeverLowersIt) {
  UseCount uses{100'000};
  const auto lower = [&uses] {
    while (lower_if_uses_remain(uses)) {
    }
  };
  std::thread other(lower);
  lower();
  other.join();
  EXPECT_EQ(uses, 1);
}

}  // namespace
}  // namespace qmsd
