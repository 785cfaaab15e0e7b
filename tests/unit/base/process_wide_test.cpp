#include "kernel/base/process_wide.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <tuple>

#include "tests/support/allocation_failures.h"

namespace qmsd {
namespace {

int g_live = 0;

struct Counted {
  Counted() noexcept { ++g_live; }
  ~Counted() { --g_live; }
  RwLock lock{LockRank::groups};
};

TEST(ProcessWide, IsThereFromItsCreationToItsEnd) {
  ProcessWide<Counted> shared;
  EXPECT_EQ(shared.get(), nullptr);
  for (int life = 0; life < 2; ++life) {
    EXPECT_TRUE(shared.create());
    EXPECT_NE(shared.get(), nullptr);
    EXPECT_EQ(g_live, 1);
    shared.destroy();
    EXPECT_EQ(shared.get(), nullptr);
    EXPECT_EQ(g_live, 0);
  }
}

TEST(ProcessWide, EndsOnce) {
  ProcessWide<Counted> shared;
  shared.destroy();
  ASSERT_TRUE(shared.create());
  shared.destroy();
  shared.destroy();
  EXPECT_EQ(g_live, 0);
}

TEST(ProcessWide, IsMissingWithoutMemory) {
  ProcessWide<Counted> shared;
  EXPECT_TRUE(test::with_allocation_failing(1, test::Shortage::once,
                                            [&] { EXPECT_FALSE(shared.create()); }));
  EXPECT_EQ(shared.get(), nullptr);
  EXPECT_FALSE(shared.publish(nullptr));
}

TEST(ProcessWide, OutlivesWhoeverIsInside) {
  ProcessWide<Counted> shared;
  ASSERT_TRUE(shared.create());
  std::atomic<bool> inside = false;
  std::thread reader([&] {
    const ReadGuard guard(shared.get()->lock);
    inside = true;
    while (shared.get() != nullptr) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(g_live, 1);
  });
  while (!inside) std::this_thread::yield();
  shared.destroy();
  EXPECT_EQ(g_live, 0);
  reader.join();
}

bool is_left_as_it_is_at_process_exit() {
  ProcessWide<Counted> shared;
  if (!shared.create()) return false;
  std::thread([&] { std::ignore = shared.get()->lock.lock_exclusive(); }).join();
  give_up_waiting();
  shared.destroy();
  return shared.get() == nullptr && g_live == 1;
}

TEST(ProcessWideDeathTest, IsLeftAsItIsAtProcessExit) {
  EXPECT_EXIT(std::_Exit(is_left_as_it_is_at_process_exit() ? 0 : 1), testing::ExitedWithCode(0),
              "");
}

}  // namespace
}  // namespace qmsd
