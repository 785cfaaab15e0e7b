#include "kernel/base/semaphore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace qmsd {
namespace {

constexpr LockRank kAnyRank = LockRank::loader;

TEST(Semaphore, IsFreeAgainAfterItsGuard) {
  Semaphore semaphore(kAnyRank);
  for (int round = 0; round < 3; ++round) const SemaphoreGuard guard(semaphore);
  EXPECT_TRUE(semaphore.acquire());
  semaphore.release();
}

TEST(Semaphore, HoldsTheSecondThreadUntilTheFirstIsDone) {
  Semaphore semaphore(kAnyRank);
  std::atomic<bool> done = false;
  ASSERT_TRUE(semaphore.acquire());
  std::thread second([&] {
    const SemaphoreGuard guard(semaphore);
    EXPECT_TRUE(done);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  done = true;
  semaphore.release();
  second.join();
}

TEST(Semaphore, LetsOneThreadThroughAtATime) {
  constexpr int kRounds = 100'000;
  Semaphore semaphore(kAnyRank);
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const SemaphoreGuard guard(semaphore);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 4 * kRounds);
}

bool gives_up_only_what_is_taken() {
  Semaphore taken(kAnyRank);
  Semaphore free(kAnyRank);
  std::thread([&] { std::ignore = taken.acquire(); }).join();
  if (waiting_given_up()) return false;
  give_up_waiting();
  if (!waiting_given_up() || taken.acquire() || taken.acquire()) return false;
  { const SemaphoreGuard goes_on(taken); }
  if (taken.acquire() || !free.acquire()) return false;
  free.release();
  return free.acquire();
}

TEST(SemaphoreDeathTest, GivesUpOnlyWhatIsTaken) {
  EXPECT_EXIT(std::_Exit(gives_up_only_what_is_taken() ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace qmsd
