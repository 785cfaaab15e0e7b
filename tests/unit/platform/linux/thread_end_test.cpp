// What only this system offers: a routine for the value of a thread that ends.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/thread_slot.h"

namespace qmsd::platform {
namespace {

std::atomic<void*> ended_with{nullptr};

TEST(ThreadEnd, HandsTheThreadsValueToTheSlotsRoutine) {
  ThreadSlot slot;
  ASSERT_TRUE(slot.create([](void* value) { ended_with = value; }));
  std::thread([&] { slot.set(&slot); }).join();
  EXPECT_EQ(ended_with, &slot);
  slot.destroy();
}

}  // namespace
}  // namespace qmsd::platform
