// The table of a module's instances, and its lock.
#include <chrono>
#include <memory>
#include <qm/detail/instance_table.hpp>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace toolkit_test {
namespace {

using qm::detail::BriefLock;
using Table = qm::detail::InstanceTable<int>;

TEST(InstanceTable, FindsWhatWasAdded) {
  Table table;
  std::vector<std::uint32_t> handles;
  for (int i = 0; i < 100; ++i) handles.push_back(table.add(std::make_shared<int>(i)));
  for (int i = 0; i < 100; ++i) {
    const auto found = table.find(handles[static_cast<std::size_t>(i)]);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(*found, i);
  }
}

TEST(InstanceTable, HandleIsNeverZeroAndNotUsedAgainSoon) {
  Table table;
  std::vector<bool> used(2000);
  for (int i = 0; i < 1000; ++i) {
    const std::uint32_t handle = table.add(std::make_shared<int>(i));
    ASSERT_GT(handle, 0u);
    ASSERT_LT(handle, used.size());
    ASSERT_FALSE(used[handle]);
    used[handle] = true;
    EXPECT_EQ(*table.remove(handle), i);
    EXPECT_EQ(table.find(handle), nullptr);
    EXPECT_EQ(table.remove(handle), nullptr);
  }
}

TEST(InstanceTable, HandlesStartOverAroundWhatIsStillOpen) {
  Table table(0xFFFFFFF0u);
  std::vector<std::uint32_t> handles;
  for (int i = 0; i < 12; ++i) handles.push_back(table.add(std::make_shared<int>(i)));
  EXPECT_EQ(handles.back(), 0xFFFFFFFCu);
  for (int i = 12; i < 40; ++i) handles.push_back(table.add(std::make_shared<int>(i)));
  for (std::size_t i = 0; i < handles.size(); ++i) {
    ASSERT_NE(handles[i], 0u);
    ASSERT_NE(table.find(handles[i]), nullptr);
    EXPECT_EQ(*table.find(handles[i]), static_cast<int>(i));
  }
  EXPECT_EQ(table.find(0), nullptr);
}

TEST(InstanceTable, KnowsNothingWhenEmpty) {
  Table table;
  EXPECT_EQ(table.find(1), nullptr);
  EXPECT_EQ(table.remove(1), nullptr);
  EXPECT_EQ(table.find(0), nullptr);
}

TEST(InstanceTable, LongLivedInstancesAreSteppedOver) {
  Table table;
  std::vector<std::uint32_t> kept;
  for (int i = 0; i < 7; ++i) kept.push_back(table.add(std::make_shared<int>(i)));
  for (int i = 0; i < 100; ++i) {
    const std::uint32_t handle = table.add(std::make_shared<int>(100 + i));
    EXPECT_EQ(*table.remove(handle), 100 + i);
  }
  for (int i = 0; i < 7; ++i) EXPECT_EQ(*table.find(kept[static_cast<std::size_t>(i)]), i);
}

TEST(BriefLock, IsWaitedForABoundedTime) {
  BriefLock lock;
  lock.lock();  // by a thread that is killed, for all that others can tell
  const auto start = std::chrono::steady_clock::now();
  std::thread waiting([&] { EXPECT_THROW(lock.lock(), qm::Failure); });
  waiting.join();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(BriefLock, IsWaitedForOnlyOnceInVain) {
  BriefLock lock;
  lock.lock();
  EXPECT_THROW(lock.lock(), qm::Failure);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) EXPECT_THROW(lock.lock(), qm::Failure);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(50));  // not 100 waits
}

TEST(BriefLock, IsAsGoodAsNewOnceItIsFree) {
  BriefLock lock;
  lock.lock();
  EXPECT_THROW(lock.lock(), qm::Failure);
  lock.unlock();
  lock.lock();
  std::thread waiting([&] {
    lock.lock();
    lock.unlock();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  lock.unlock();
  waiting.join();
}

TEST(BriefLock, KeepsThreadsApart) {
  BriefLock lock;
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 10000; ++round) {
        lock.lock();
        ++count;
        lock.unlock();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 40000);
}

}  // namespace
}  // namespace toolkit_test
