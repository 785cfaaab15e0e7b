#include "platform/thread_slot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

std::atomic<int> ended{0};

void count_end(void*) { ++ended; }

class ThreadSlotTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(slot_.create(nullptr)); }
  void TearDown() override { slot_.destroy(); }

  ThreadSlot slot_;
  int value_ = 0;
};

TEST_F(ThreadSlotTest, IsEmptyAtFirst) { EXPECT_EQ(slot_.get(), nullptr); }

TEST_F(ThreadSlotTest, HoldsWhatWasPutIn) {
  EXPECT_TRUE(slot_.set(&value_));
  EXPECT_EQ(slot_.get(), &value_);
  EXPECT_TRUE(slot_.set(nullptr));
  EXPECT_EQ(slot_.get(), nullptr);
}

TEST_F(ThreadSlotTest, BelongsToOneThreadOnly) {
  ASSERT_TRUE(slot_.set(&value_));
  std::thread([&] {
    EXPECT_EQ(slot_.get(), nullptr);
    int own = 0;
    EXPECT_TRUE(slot_.set(&own));
    EXPECT_EQ(slot_.get(), &own);
    slot_.set(nullptr);
  }).join();
  EXPECT_EQ(slot_.get(), &value_);
}

TEST_F(ThreadSlotTest, IsEmptyForThreadsOlderThanItself) {
  slot_.destroy();
  std::atomic<bool> created{false};
  void* seen = &value_;
  std::thread older([&] {
    while (!created) std::this_thread::yield();
    seen = slot_.get();
  });
  ASSERT_TRUE(slot_.create(nullptr));
  created = true;
  older.join();
  EXPECT_EQ(seen, nullptr);
}

TEST_F(ThreadSlotTest, ForgetsItsValuesWhenCreatedAgain) {
  ASSERT_TRUE(slot_.set(&value_));
  slot_.destroy();
  EXPECT_FALSE(slot_.exists());
  ASSERT_TRUE(slot_.create(nullptr));
  EXPECT_EQ(slot_.get(), nullptr);
}

TEST(ThreadSlot, DoesNotExistUntilCreated) {
  ThreadSlot slot;
  EXPECT_FALSE(slot.exists());
  slot.destroy();
  EXPECT_FALSE(slot.exists());
}

TEST(ThreadSlot, FailsAsOftenAsToldTo) {
  fail_next_thread_slots(2);
  ThreadSlot slot;
  EXPECT_FALSE(slot.create(nullptr));
  EXPECT_FALSE(slot.exists());
  EXPECT_FALSE(slot.create(nullptr));
  EXPECT_TRUE(slot.create(nullptr));
  slot.destroy();
}

TEST(ThreadSlot, ReportsWhenTheSystemHasNoneLeft) {
  constexpr int kMoreThanAnySystemHas = 5000;
  static ThreadSlot slots[kMoreThanAnySystemHas];
  int made = 0;
  while (made < kMoreThanAnySystemHas && slots[made].create(nullptr)) ++made;
  EXPECT_LT(made, kMoreThanAnySystemHas);
  EXPECT_FALSE(slots[made].exists());
  for (int i = 0; i < made; ++i) slots[i].destroy();
}

TEST(ThreadSlot, CanBeMadeAndDestroyedForEver) {
  ThreadSlot slot;
  for (int i = 0; i < 10000; ++i) {
    ASSERT_TRUE(slot.create(nullptr));
    slot.destroy();
  }
}

TEST(ThreadSlot, RunsItsEndAtMostOnceForAThreadWithAValue) {
  ThreadSlot slot;
  ASSERT_TRUE(slot.create(&count_end));
  ended = 0;
  std::thread([&] { slot.get(); }).join();
  EXPECT_EQ(ended, 0);
  std::thread([&] { slot.set(&slot); }).join();
  EXPECT_LE(ended, 1);
  slot.destroy();
  const int before = ended;
  std::thread([] {}).join();
  EXPECT_EQ(ended, before);
}

}  // namespace
}  // namespace qmsd::platform
