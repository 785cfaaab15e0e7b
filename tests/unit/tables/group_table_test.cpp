#include "services/tables/group_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/allocation_failures.h"
#include "tests/support/wide_text.h"

namespace qmsd {
namespace {

using test::WideString;

constexpr const qm_wchar* kNothing = QM_W("(nothing)");

WideString module_of(std::uint16_t group) {
  qm_wchar name[kGroupNameLength];
  return groups_lookup(group, name) ? name : kNothing;
}

class GroupTable : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(groups_create()); }
  void TearDown() override { groups_destroy(); }
};

struct Row {
  std::uint16_t group;
  const qm_wchar* module;
};

constexpr Row kBuiltIn[] = {
    {0x1100, QM_W("qmproperty")},
    {0x1101, QM_W("qmlog")},
    {0x1102, QM_W("qmstream")},
    {0x1103, QM_W("qmtrafo")},
    {0x1104, QM_W("qmimage")},
    {0x1105, QM_W("qmbmp")},
    {0x1106, QM_W("qmjpeg")},
    {0x1107, QM_W("qmwatchdog")},
    {0x1108, QM_W("qmmotdet")},
    {0x1109, QM_W("qmjpeg2k")},
    {0x110A, QM_W("qmzlib")},
    {0x110B, QM_W("qmpng")},
    {0x110C, kNothing},
    {0x110D, QM_W("qmspeed")},
    {0x110E, QM_W("qmpropfile")},
    {0x110F, QM_W("qmpropclient")},
    {0x1110, QM_W("qmjpeg8")},
    {0x1111, QM_W("qmjpeg12")},
    {0x1112, kNothing},
    {0x1113, QM_W("qmwsq")},
    {0x1114, kNothing},
    {0x10FF, kNothing},
    {0, kNothing},
    {0xFFFF, kNothing},
};

void expect_built_in_rows() {
  for (const Row& row : kBuiltIn) EXPECT_EQ(module_of(row.group), row.module) << row.group;
}

TEST_F(GroupTable, HasItsBuiltInRows) { expect_built_in_rows(); }

TEST_F(GroupTable, AddsAndReplacesRows) {
  EXPECT_TRUE(groups_set(0x110C, QM_W("added")));
  EXPECT_TRUE(groups_set(0x1100, QM_W("replaced")));
  EXPECT_EQ(module_of(0x110C), QM_W("added"));
  EXPECT_EQ(module_of(0x1100), QM_W("replaced"));
  EXPECT_EQ(module_of(0x1101), QM_W("qmlog"));
}

TEST_F(GroupTable, RemovesARowWithoutText) {
  EXPECT_TRUE(groups_set(0x1104, nullptr));
  EXPECT_EQ(module_of(0x1104), kNothing);
  EXPECT_EQ(module_of(0x1103), QM_W("qmtrafo"));
  EXPECT_EQ(module_of(0x1105), QM_W("qmbmp"));
  EXPECT_TRUE(groups_set(0x1104, nullptr)) << "nothing to remove";
  EXPECT_TRUE(groups_set(0x1104, QM_W("again")));
  EXPECT_EQ(module_of(0x1104), QM_W("again"));
}

TEST_F(GroupTable, CanBeEmptiedAndFilledAgain) {
  for (const Row& row : kBuiltIn) EXPECT_TRUE(groups_set(row.group, nullptr));
  EXPECT_EQ(module_of(0x1100), kNothing);
  EXPECT_TRUE(groups_set(0x1100, QM_W("qmproperty")));
  EXPECT_EQ(module_of(0x1100), QM_W("qmproperty"));
}

TEST_F(GroupTable, KeepsAnEmptyName) {
  EXPECT_TRUE(groups_set(0x1100, QM_W("")));
  EXPECT_EQ(module_of(0x1100), QM_W(""));
}

TEST_F(GroupTable, CutsLongNamesInAnswers) {
  EXPECT_TRUE(groups_set(0x1200, WideString(200, 'n').c_str()));
  EXPECT_EQ(module_of(0x1200), WideString(127, 'n'));
}

TEST_F(GroupTable, StoresIdsThatNoGroupHas) {
  for (const std::int32_t id : {0x11100, -1, INT32_MIN, INT32_MAX}) {
    EXPECT_TRUE(groups_set(id, QM_W("unreachable")));
  }
  EXPECT_EQ(module_of(0x1110), QM_W("qmjpeg8"));
  EXPECT_EQ(module_of(0xFFFF), kNothing);
  expect_built_in_rows();
}

TEST_F(GroupTable, IsClaimedOncePerLife) {
  EXPECT_TRUE(groups_claim_loading());
  EXPECT_FALSE(groups_claim_loading());
  groups_destroy();
  EXPECT_FALSE(groups_claim_loading()) << "there is no table";
  ASSERT_TRUE(groups_create());
  EXPECT_TRUE(groups_claim_loading());
}

TEST_F(GroupTable, ForgetsEverythingWhenItIsDestroyed) {
  EXPECT_TRUE(groups_set(0x1100, QM_W("replaced")));
  groups_destroy();
  EXPECT_EQ(module_of(0x1100), kNothing);
  EXPECT_FALSE(groups_set(0x1100, QM_W("late")));
  groups_destroy();
  ASSERT_TRUE(groups_create());
  expect_built_in_rows();
}

TEST_F(GroupTable, ARowWhoseNewTextCannotBeCopiedIsGone) {
  errno = 0;
  EXPECT_TRUE(test::with_allocation_failing(1, test::Shortage::once,
                                            [] { EXPECT_FALSE(groups_set(0x1104, QM_W("new"))); }));
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(module_of(0x1104), kNothing);
  EXPECT_EQ(module_of(0x1103), QM_W("qmtrafo"));
  EXPECT_EQ(module_of(0x1105), QM_W("qmbmp"));
}

TEST_F(GroupTable, ManyRowsAreAllFound) {
  for (std::uint16_t group = 0x2200; group > 0x2100; --group) {
    EXPECT_TRUE(groups_set(group, QM_W("many")));
  }
  for (std::uint16_t group = 0x2200; group > 0x2100; --group)
    EXPECT_EQ(module_of(group), QM_W("many"));
  expect_built_in_rows();
}

// Adds until the array has grown, replaces and removes.
void change_rows() {
  for (std::uint16_t group = 0x1200; group < 0x1220; ++group) {
    const bool set = groups_set(group, QM_W("added"));
    EXPECT_EQ(module_of(group), set ? QM_W("added") : kNothing);
  }
  const bool replaced = groups_set(0x1104, QM_W("replaced"));
  EXPECT_EQ(module_of(0x1104), replaced ? QM_W("replaced") : kNothing);
  EXPECT_TRUE(groups_set(0x1105, nullptr));
  EXPECT_EQ(module_of(0x1105), kNothing);
  EXPECT_EQ(module_of(0x1103), QM_W("qmtrafo"));
}

TEST(GroupTableMemory, EveryFailedAllocationLeavesASoundTable) {
  const auto scenario = [] {
    const bool created = groups_create();
    if (created) {
      change_rows();
    } else {
      EXPECT_TRUE(test::allocation_refused());
      EXPECT_EQ(module_of(0x1100), kNothing);
    }
    groups_destroy();
  };
  test::fail_each_allocation(scenario);
}

TEST(GroupTableMemory, EveryThrowingAllocationLeavesASoundTable) {
  test::throw_at_each_allocation([] {
    struct Destroy {
      ~Destroy() { groups_destroy(); }
    } destroy;
    groups_create();
    groups_set(0x1200, QM_W("added"));
    groups_set(0x1104, QM_W("replaced"));
  });
  ASSERT_TRUE(groups_create());
  test::with_allocation_failing(1, test::Shortage::throws, [] {
    EXPECT_THROW(groups_set(0x1104, QM_W("new")), std::bad_alloc);
  });
  EXPECT_EQ(module_of(0x1104), kNothing);
  groups_destroy();
}

TEST_F(GroupTable, AnswersWhileRowsChange) {
  std::atomic<bool> done = false;
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&done] {
      while (!done) {
        const WideString name = module_of(0x1150);
        EXPECT_TRUE(name == QM_W("one") || name == QM_W("another") || name == kNothing);
        EXPECT_EQ(module_of(0x1101), QM_W("qmlog"));
      }
    });
  }
  for (int round = 0; round < 2000; ++round) {
    groups_set(0x1150, QM_W("one"));
    groups_set(0x1150, QM_W("another"));
    groups_set(0x1150, nullptr);
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace qmsd
