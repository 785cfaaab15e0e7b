#include "platform/heap.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

int allocations_seen = 0;
std::size_t last_size = 0;

bool refuse(std::size_t bytes) {
  ++allocations_seen;
  last_size = bytes;
  return false;
}

class ClosedGate {
 public:
  ClosedGate() {
    allocations_seen = 0;
    set_allocation_gate(&refuse);
  }
  ~ClosedGate() { set_allocation_gate(nullptr); }
  ClosedGate(const ClosedGate&) = delete;
  ClosedGate& operator=(const ClosedGate&) = delete;
};

struct Counted {
  explicit Counted(int start) noexcept : value(start) { ++alive; }
  ~Counted() { --alive; }
  static inline int alive = 0;
  int value;
};

TEST(Heap, AllocatesBlocksThatCanBeWritten) {
  void* block = heap_allocate(100);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0x5A, 100);
  heap_free(block);
}

TEST(Heap, ZeroesWhenAsked) {
  auto* block = static_cast<unsigned char*>(heap_allocate_zeroed(1000));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(block[i], 0) << i;
  heap_free(block);
}

TEST(Heap, ZeroesArraysWhenAsked) {
  const HeapArray<std::int64_t> values = heap_array_zeroed<std::int64_t>(1000);
  ASSERT_NE(values, nullptr);
  for (std::size_t i = 0; i < 1000; ++i) ASSERT_EQ(values[i], 0) << i;
}

TEST(Heap, GivesABlockForNoBytesToo) {
  void* plain = heap_allocate(0);
  void* zeroed = heap_allocate_zeroed(0);
  EXPECT_NE(plain, nullptr);
  EXPECT_NE(zeroed, nullptr);
  heap_free(plain);
  heap_free(zeroed);
}

TEST(Heap, KeepsTheContentWhenReallocating) {
  void* block = heap_allocate(4);
  std::memcpy(block, "abc", 4);
  block = heap_reallocate(block, 100000);
  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(static_cast<char*>(block), "abc");
  heap_free(block);
}

TEST(Heap, ReallocatesNullLikeAllocating) {
  void* block = heap_reallocate(nullptr, 8);
  ASSERT_NE(block, nullptr);
  heap_free(block);
}

TEST(Heap, ClosedGateFailsEachKindOfAllocationLikeAnExhaustedRuntime) {
  void* kept = heap_allocate(4);
  std::memcpy(kept, "abc", 4);
  {
    const ClosedGate closed;
    errno = 0;
    EXPECT_EQ(heap_allocate(11), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(last_size, 11u);
    EXPECT_EQ(heap_allocate_zeroed(12), nullptr);
    EXPECT_EQ(last_size, 12u);
    EXPECT_EQ(heap_reallocate(kept, 13), nullptr);
    EXPECT_EQ(last_size, 13u);
    EXPECT_EQ(heap_new<Counted>(1), nullptr);
    EXPECT_EQ(heap_array<std::int32_t>(3), nullptr);
    EXPECT_EQ(last_size, 12u);
    EXPECT_EQ(heap_array_zeroed<std::int32_t>(4), nullptr);
    EXPECT_EQ(last_size, 16u);
    EXPECT_EQ(allocations_seen, 6);
  }
  EXPECT_EQ(Counted::alive, 0);
  EXPECT_STREQ(static_cast<char*>(kept), "abc");
  heap_free(kept);
}

TEST(Heap, AsksTheGateForNothingOnceItIsRemoved) {
  { const ClosedGate closed; }
  allocations_seen = 0;
  heap_free(heap_allocate(1));
  EXPECT_EQ(allocations_seen, 0);
}

TEST(Heap, FreeingKeepsErrno) {
  void* block = heap_allocate(1 << 20);
  errno = ERANGE;
  heap_free(block);
  EXPECT_EQ(errno, ERANGE);
  heap_free(nullptr);
  EXPECT_EQ(errno, ERANGE);
}

TEST(Heap, OwnerDestroysAndFrees) {
  {
    const HeapOwner<Counted> owner = heap_new<Counted>(7);
    ASSERT_NE(owner, nullptr);
    EXPECT_EQ(owner->value, 7);
    EXPECT_EQ(Counted::alive, 1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

}  // namespace
}  // namespace qmsd::platform
