// The zone follows the variable TZ here, so a test can move the system about.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

#include "platform/time_zone.h"
#include "variant/time/zone.h"

namespace qmsd {
namespace {

// The system's zone until the end of a scope.
class InZone {
 public:
  explicit InZone(const char* zone) {
    if (const char* before = ::getenv("TZ")) before_ = before;
    ::setenv("TZ", zone, 1);
  }
  ~InZone() {
    if (before_) {
      ::setenv("TZ", before_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }

 private:
  std::optional<std::string> before_;
};

TEST(ZoneOnLinux, IsPositiveWestOfGreenwich) {
  struct Row {
    const char* zone;
    std::int32_t offset;
  };
  const Row rows[] = {{"UTC0", 0},        {"AAA5", 18'000},    {"AAA-5:30", -19'800},
                      {"AAA0:01:15", 75}, {"AAA-14", -50'400}, {":/no/such/zone", 0}};
  for (const Row& row : rows) {
    const InZone here(row.zone);
    EXPECT_EQ(platform::zone_offset_now(), row.offset) << row.zone;
  }
}

TEST(ZoneOnLinux, CountsTheSeasonThatIsInForce) {
  const InZone summer("AAA5BBB,0/0,J365/25");  // all the year round
  EXPECT_EQ(platform::zone_offset_now(), 14'400);
}

TEST(ZoneOnLinux, IsReadOnlyOnceForTheKernel) {
  const std::int32_t known = local_zone_offset();
  const InZone elsewhere(known == 18'000 ? "AAA4" : "AAA5");
  EXPECT_NE(platform::zone_offset_now(), known);
  EXPECT_EQ(local_zone_offset(), known);
}

}  // namespace
}  // namespace qmsd
