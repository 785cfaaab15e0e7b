#include "platform/semaphore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

std::vector<std::thread> start_threads(int count, const auto& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(work);
  return threads;
}

void join_all(std::vector<std::thread>& threads) {
  for (std::thread& thread : threads) thread.join();
}

// With the system's object and without.
class SemaphoreTest : public testing::TestWithParam<bool> {
 protected:
  SemaphoreTest() { refuse_system_semaphores(GetParam()); }
  ~SemaphoreTest() override { refuse_system_semaphores(false); }
};

INSTANTIATE_TEST_SUITE_P(Both, SemaphoreTest, testing::Bool());

TEST_P(SemaphoreTest, NeedsNoSystemObjectWhenUnused) { const Semaphore semaphore; }

TEST_P(SemaphoreTest, KeepsReleasesThatCameFirst) {
  Semaphore semaphore;
  semaphore.release(2);
  semaphore.release(1);
  for (int i = 0; i < 3; ++i) semaphore.acquire();
}

TEST_P(SemaphoreTest, LetsNobodyThroughForAReleaseOfNone) {
  Semaphore semaphore;
  semaphore.release(0);
  std::atomic<bool> through{false};
  std::thread thread([&] {
    semaphore.acquire();
    through = true;
  });
  sleep_milliseconds(20);
  EXPECT_FALSE(through);
  semaphore.release(1);
  thread.join();
  EXPECT_TRUE(through);
}

TEST_P(SemaphoreTest, LetsAsManyThroughAsWereReleased) {
  Semaphore semaphore;
  std::atomic<int> through{0};
  std::vector<std::thread> threads = start_threads(4, [&] {
    semaphore.acquire();
    ++through;
  });
  semaphore.release(1);
  while (through < 1) sleep_milliseconds(1);
  sleep_milliseconds(20);
  EXPECT_EQ(through, 1);
  semaphore.release(3);
  join_all(threads);
  EXPECT_EQ(through, 4);
}

TEST_P(SemaphoreTest, ShowsTheWaitingThreadWhatWasDoneBeforeTheRelease) {
  constexpr int kRounds = 200;
  Semaphore there;
  Semaphore back;
  int ball = 0;  // no atomic: the semaphores alone order the threads
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      there.acquire();
      ++ball;
      back.release(1);
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    ++ball;
    there.release(1);
    back.acquire();
    ASSERT_EQ(ball, 2 * (i + 1));
  }
  other.join();
}

TEST_P(SemaphoreTest, LosesNoReleaseWhenManyThreadsUseItFirst) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 50; ++round) {
    Semaphore semaphore;
    std::atomic<bool> go{false};
    const auto wait_for_go = [&] {
      while (!go) std::this_thread::yield();
    };
    std::vector<std::thread> acquirers = start_threads(kThreads, [&] {
      wait_for_go();
      semaphore.acquire();
    });
    std::vector<std::thread> releasers = start_threads(kThreads, [&] {
      wait_for_go();
      semaphore.release(1);
    });
    go = true;
    join_all(acquirers);
    join_all(releasers);
  }
}

TEST_P(SemaphoreTest, MayBeDestroyedByTheThreadItLetThrough) {
  for (int round = 0; round < 200; ++round) {
    auto semaphore = std::make_unique<Semaphore>();
    std::thread releaser([shared = semaphore.get()] { shared->release(1); });
    semaphore->acquire();
    semaphore.reset();
    releaser.join();
  }
}

}  // namespace
}  // namespace qmsd::platform
