#include "platform/sleeper.h"

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
class SleeperTest : public testing::TestWithParam<bool> {
 protected:
  SleeperTest() { refuse_sleeper_objects(GetParam()); }
  ~SleeperTest() override { refuse_sleeper_objects(false); }
};

INSTANTIATE_TEST_SUITE_P(Both, SleeperTest, testing::Bool());

TEST_P(SleeperTest, NeedsNoSystemObjectWhenUnused) { const Sleeper sleeper; }

TEST_P(SleeperTest, WakesBeforehandAreKept) {
  Sleeper sleeper;
  sleeper.wake(2);
  sleeper.wake(1);
  for (int i = 0; i < 3; ++i) sleeper.sleep();
}

TEST_P(SleeperTest, WakingNobodyLetsNobodyThrough) {
  Sleeper sleeper;
  sleeper.wake(0);
  std::atomic<bool> through{false};
  std::thread thread([&] {
    sleeper.sleep();
    through = true;
  });
  sleep_milliseconds(20);
  EXPECT_FALSE(through);
  sleeper.wake(1);
  thread.join();
  EXPECT_TRUE(through);
}

TEST_P(SleeperTest, EachWakeLetsThatManyThrough) {
  Sleeper sleeper;
  std::atomic<int> through{0};
  std::vector<std::thread> threads = start_threads(4, [&] {
    sleeper.sleep();
    ++through;
  });
  sleeper.wake(1);
  while (through < 1) sleep_milliseconds(1);
  sleep_milliseconds(20);
  EXPECT_EQ(through, 1);
  sleeper.wake(3);
  join_all(threads);
  EXPECT_EQ(through, 4);
}

TEST_P(SleeperTest, ShowsTheSleeperWhatWasDoneBeforeTheWake) {
  constexpr int kRounds = 200;
  Sleeper there;
  Sleeper back;
  int ball = 0;  // no atomic: the sleepers alone order the threads
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      there.sleep();
      ++ball;
      back.wake(1);
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    ++ball;
    there.wake(1);
    back.sleep();
    ASSERT_EQ(ball, 2 * (i + 1));
  }
  other.join();
}

TEST_P(SleeperTest, LosesNoTokenWhenManyThreadsUseItFirst) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 50; ++round) {
    Sleeper sleeper;
    std::atomic<bool> go{false};
    const auto wait_for_go = [&] {
      while (!go) std::this_thread::yield();
    };
    std::vector<std::thread> sleepers = start_threads(kThreads, [&] {
      wait_for_go();
      sleeper.sleep();
    });
    std::vector<std::thread> wakers = start_threads(kThreads, [&] {
      wait_for_go();
      sleeper.wake(1);
    });
    go = true;
    join_all(sleepers);
    join_all(wakers);
  }
}

TEST_P(SleeperTest, MayBeDestroyedByTheThreadItLetThrough) {
  for (int round = 0; round < 200; ++round) {
    auto sleeper = std::make_unique<Sleeper>();
    std::thread waker([shared = sleeper.get()] { shared->wake(1); });
    sleeper->sleep();
    sleeper.reset();
    waker.join();
  }
}

}  // namespace
}  // namespace qmsd::platform
