#include "variant/copy_map.h"

#include <vector>

#include "tests/support/allocation_failures.h"
#include "tests/unit/variant/variant_support.h"

namespace qmsd {
namespace {

// Addresses are all that the map looks at.
qm_variant* at(std::uintptr_t number) { return reinterpret_cast<qm_variant*>(16 * (number + 1)); }

TEST(CopyMap, KnowsNothingAtFirst) {
  const CopyMap map;
  EXPECT_EQ(map.find(at(0)), nullptr);
  EXPECT_EQ(map.size(), 0u);
}

TEST(CopyMap, FindsEachOfManyAndKeepsTheirOrder) {
  constexpr std::uintptr_t kMany = 20000;
  CopyMap map;
  for (std::uintptr_t number = 0; number < kMany; ++number) {
    ASSERT_TRUE(map.add_findable(at(7 * number), at(number)));
  }
  ASSERT_EQ(map.size(), kMany);
  for (std::uintptr_t number = 0; number < kMany; ++number) {
    ASSERT_EQ(map.find(at(7 * number)), at(number));
    ASSERT_EQ(map.find(at(7 * number + 3)), nullptr);
    ASSERT_EQ(map[number].source, at(7 * number));
  }
}

TEST(CopyMap, FindsOnlyWhatMayBeMetAgain) {
  CopyMap map;
  for (std::uintptr_t number = 0; number < 1000; ++number) {
    ASSERT_TRUE(number % 3 == 0 ? map.add_findable(at(number), at(number))
                                : map.add(at(number), at(number)));
  }
  ASSERT_EQ(map.size(), 1000u);
  for (std::uintptr_t number = 0; number < 1000; ++number) {
    ASSERT_EQ(map.find(at(number)), number % 3 == 0 ? at(number) : nullptr);
    ASSERT_EQ(map[number].copy, at(number));
  }
}

TEST(CopyMap, KeepsWhatItHasWhenItCannotGrow) {
  test::fail_each_allocation([] {
    CopyMap map;
    std::uintptr_t added = 0;
    while (added < 200 && map.add_findable(at(added), at(added))) ++added;
    EXPECT_EQ(added < 200, test::allocation_refused());
    for (std::uintptr_t number = 0; number < added; ++number) {
      EXPECT_EQ(map.find(at(number)), at(number));
    }
  });
}

}  // namespace
}  // namespace qmsd
