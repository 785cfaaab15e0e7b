#include "kernel/base/rw_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "kernel/base/waiting.h"

namespace qmsd {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr LockRank kAnyRank = LockRank::groups;

// True when the counter stands still for a while before the patience ends.
bool comes_to_rest(const std::atomic<int>& counter) {
  const auto patience = steady_clock::now() + std::chrono::seconds(20);
  while (steady_clock::now() < patience) {
    const int before = counter;
    std::this_thread::sleep_for(milliseconds(100));
    if (counter == before) return true;
  }
  return false;
}

TEST(RwLock, LetsReadersInTogether) {
  RwLock lock(kAnyRank);
  const ReadGuard mine(lock);
  bool inside = false;
  std::thread([&] {
    const ReadGuard theirs(lock);
    inside = true;
  }).join();
  EXPECT_TRUE(inside);
}

TEST(RwLock, IsFreeAgainAfterEitherKindOfUse) {
  RwLock lock(kAnyRank);
  for (int round = 0; round < 3; ++round) {
    { const ReadGuard reading(lock); }
    { const WriteGuard writing(lock); }
  }
  ReadGuard reading(lock);
  EXPECT_TRUE(reading.held());
  reading.unlock();
  EXPECT_FALSE(reading.held());
  const WriteGuard writing(lock);
  EXPECT_TRUE(writing.held());
}

TEST(RwLock, AWriterWaitsForAllReaders) {
  RwLock lock(kAnyRank);
  std::atomic<int> readers_left = 3;
  std::atomic<int> inside = 0;
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&, i] {
      const ReadGuard guard(lock);
      ++inside;
      std::this_thread::sleep_for(milliseconds(20 * (i + 1)));
      --readers_left;
    });
  }
  while (inside < 3) std::this_thread::yield();
  {
    const WriteGuard guard(lock);
    EXPECT_EQ(readers_left, 0);
  }
  for (std::thread& reader : readers) reader.join();
}

TEST(RwLock, AWriterKeepsEverybodyElseOut) {
  RwLock lock(kAnyRank);
  std::atomic<bool> writing = true;
  WriteGuard guard(lock);
  std::thread reader([&] {
    const ReadGuard inside(lock);
    EXPECT_FALSE(writing);
  });
  std::thread writer([&] {
    const WriteGuard inside(lock);
    EXPECT_FALSE(writing);
  });
  std::this_thread::sleep_for(milliseconds(50));
  writing = false;
  guard.unlock();
  reader.join();
  writer.join();
}

TEST(RwLock, AWaitingWriterKeepsLaterReadersOut) {
  RwLock lock(kAnyRank);
  std::atomic<int> reads = 0;
  std::atomic<bool> written = false;
  ReadGuard first(lock);
  std::thread later_reader([&] {
    while (!written) {
      const ReadGuard guard(lock);
      ++reads;
    }
  });
  while (reads == 0) std::this_thread::yield();
  std::thread writer([&] {
    const WriteGuard guard(lock);
    written = true;
  });
  EXPECT_TRUE(comes_to_rest(reads));
  EXPECT_FALSE(written) << "the first reader is still inside";
  first.unlock();
  writer.join();
  later_reader.join();
}

// Two numbers that only writers change, and always together.
struct Pair {
  RwLock lock{kAnyRank};
  int a = 0;
  int b = 0;
};

void write(Pair& pair, int rounds) {
  for (int i = 0; i < rounds; ++i) {
    const WriteGuard guard(pair.lock);
    ++pair.a;
    ++pair.b;
  }
}

void read(Pair& pair, int rounds) {
  for (int i = 0; i < rounds; ++i) {
    const ReadGuard guard(pair.lock);
    ASSERT_EQ(pair.a, pair.b);
  }
}

TEST(RwLock, KeepsReadersAndWritersApartUnderLoad) {
  constexpr int kRounds = 100'000;
  Pair pair;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&pair] { write(pair, kRounds); });
    threads.emplace_back([&pair] { read(pair, kRounds); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(pair.a, 3 * kRounds);
  EXPECT_EQ(pair.b, 3 * kRounds);
}

TEST(RwLock, NobodySleepsForEverWhenHoldersSleepInside) {
  RwLock lock(kAnyRank);
  int changes = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 20; ++round) {
        if (i % 2 == 0) {
          const ReadGuard guard(lock);
          std::this_thread::sleep_for(milliseconds(1));
        } else {
          const WriteGuard guard(lock);
          ++changes;
          std::this_thread::sleep_for(milliseconds(1));
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(changes, 80);
}

// ---- When waiting has been given up; that is for ever, so it happens in another process ----

template <class Guard>
bool can_take(RwLock& lock) {
  return Guard(lock).held();
}

bool goes_on_without_a_taken_lock() {
  RwLock read_held(LockRank::registry);
  RwLock write_held(LockRank::groups);
  std::thread([&] {
    std::ignore = read_held.lock_shared();
    std::ignore = write_held.lock_exclusive();
  }).join();
  give_up_waiting();
  return can_take<ReadGuard>(read_held) && !can_take<WriteGuard>(read_held) &&
         !can_take<ReadGuard>(write_held) && !can_take<WriteGuard>(write_held) &&
         can_take<ReadGuard>(read_held);
}

bool still_takes_a_free_lock() {
  RwLock lock(kAnyRank);
  give_up_waiting();
  return can_take<WriteGuard>(lock) && can_take<ReadGuard>(lock) && can_take<WriteGuard>(lock);
}

[[noreturn]] void leave_with(bool passed) { std::_Exit(passed ? 0 : 1); }

TEST(RwLockDeathTest, GoesOnWithoutATakenLockOnceWaitingHasBeenGivenUp) {
  EXPECT_EXIT(leave_with(goes_on_without_a_taken_lock()), testing::ExitedWithCode(0), "");
}

TEST(RwLockDeathTest, StillTakesAFreeLockOnceWaitingHasBeenGivenUp) {
  EXPECT_EXIT(leave_with(still_takes_a_free_lock()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace qmsd
