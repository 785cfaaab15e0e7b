#include "services/text/statistics.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "tests/support/allocation_failures.h"

namespace qmsd {
namespace {

TEST(Statistics, TellChangesSinceTheLastReport) {
  LastReported blocks;
  EXPECT_EQ(blocks.change_to(3), 3);
  EXPECT_EQ(blocks.change_to(3), 0);
  EXPECT_EQ(blocks.change_to(1), -2);
  EXPECT_EQ(blocks.change_to(INT32_MAX + std::int64_t{1}), std::int64_t{INT32_MAX});
}

TEST(Statistics, AreOneLine) {
  const qmString line = statistics_line("[QM] n: %i (%lli)\n", 2, std::int64_t{-1});
  EXPECT_STREQ(line.c_str(), "[QM] n: 2 (-1)\n");
}

TEST(Statistics, AreNotReportedEmpty) {
  EXPECT_THROW(statistics_line(""), std::runtime_error);
  EXPECT_TRUE(test::with_allocation_failing(
      1, test::Shortage::once, [] { EXPECT_THROW(statistics_line("line"), std::runtime_error); }));
}

}  // namespace
}  // namespace qmsd
