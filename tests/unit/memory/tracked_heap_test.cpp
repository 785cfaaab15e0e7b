// What a list of blocks does with guard zones, damage and lack of memory.
#include "memory/tracked_heap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/support/allocation_failures.h"
#include "tests/unit/memory/memory_test.h"

namespace qmsd {
namespace {

using test::Shortage;
using test::with_allocation_failing;

class TrackedHeapTest : public testing::Test {
 protected:
  static void* allocate(TrackedHeap& heap, std::int32_t size = 8, const char* file = nullptr,
                        std::int32_t line = 0) {
    void* block = nullptr;
    EXPECT_TRUE(heap.reallocate(&block, size, file, line));
    return block;
  }

  static void release(TrackedHeap& heap, void* block) {
    EXPECT_TRUE(heap.reallocate(&block, 0, nullptr, 0));
    EXPECT_EQ(block, nullptr);
  }

  // Makes an allocation fail at its N-th step: growing the list (only when no place is free), the
  // record, then the block.
  static void fail_to_allocate(TrackedHeap& heap, int step, std::int32_t size = 8) {
    void* block = nullptr;
    EXPECT_TRUE(with_allocation_failing(
        step, Shortage::once, [&] { EXPECT_FALSE(heap.reallocate(&block, size, nullptr, 0)); }));
    EXPECT_EQ(block, nullptr);
  }

  static void* pointer_at(const TrackedHeap& heap, std::int32_t index) {
    qm_mem_info info{};
    info.index = index;
    EXPECT_TRUE(heap.describe(info));
    return info.pointer;
  }

  static bool has_place(const TrackedHeap& heap, std::int32_t index) {
    qm_mem_info info{};
    info.index = index;
    return heap.describe(info);
  }

 private:
  test::ErrorState errors_;
};

TEST_F(TrackedHeapTest, TakesTheLowestFreePlaceAndKeepsIndices) {
  TrackedHeap heap;
  std::vector<void*> blocks;
  for (int i = 0; i < 5; ++i) blocks.push_back(allocate(heap));
  release(heap, blocks[3]);
  release(heap, blocks[1]);
  EXPECT_EQ(pointer_at(heap, 4), blocks[4]);
  EXPECT_EQ(pointer_at(heap, 1), allocate(heap));
  EXPECT_EQ(pointer_at(heap, 3), allocate(heap));
  EXPECT_FALSE(has_place(heap, 5));
}

TEST_F(TrackedHeapTest, NeverShrinks) {
  TrackedHeap heap;
  void* block = allocate(heap);
  release(heap, block);
  EXPECT_TRUE(has_place(heap, 0));
  EXPECT_EQ(pointer_at(heap, 0), nullptr);
}

TEST_F(TrackedHeapTest, ReportsTheFirstDamagedGuardZoneWithItsOrigin) {
  TrackedHeap heap(8);
  allocate(heap);
  auto* named = static_cast<char*>(allocate(heap, 5, "dir/a.c", 12));
  auto* unnamed = static_cast<char*>(allocate(heap));
  EXPECT_TRUE(heap.check());
  EXPECT_NO_ERROR();
  unnamed[8] = 0;
  EXPECT_FALSE(heap.check());
  EXPECT_ERROR(14, QM_W("In block allocated in unknown file at 0."));
  named[-1] = 0;
  EXPECT_FALSE(heap.check());
  EXPECT_ERROR(14, QM_W("In block allocated in dir/a.c at 12."));
}

TEST_F(TrackedHeapTest, DoesNotTouchABlockWithADamagedGuardZone) {
  TrackedHeap heap(8);
  auto* const block = static_cast<char*>(allocate(heap));
  block[8] = 0;
  void* pointer = block;
  for (const std::int32_t size : {0, 100}) {
    EXPECT_FALSE(heap.reallocate(&pointer, size, nullptr, 0));
    EXPECT_STANDARD_ERROR(14);
    EXPECT_EQ(pointer, block);
  }
  std::int32_t capacity = -1;
  EXPECT_FALSE(heap.capacity_of(block, capacity));
  EXPECT_STANDARD_ERROR(14);
  EXPECT_EQ(capacity, -1);
}

TEST_F(TrackedHeapTest, DamagedGuardZonesDoNotHideOtherBlocks) {
  TrackedHeap heap(8);
  static_cast<char*>(allocate(heap))[8] = 0;
  void* behind = allocate(heap);
  EXPECT_TRUE(heap.contains(behind));
  release(heap, behind);
}

TEST_F(TrackedHeapTest, CountsGuardZonesAsData) {
  TrackedHeap heap(8);
  allocate(heap, 5, "abc");
  const BlockTotals totals = heap.totals();
  EXPECT_EQ(totals.blocks, 1);
  EXPECT_EQ(totals.damaged, 0);
  EXPECT_EQ(totals.data_bytes, 8 + 16);
  EXPECT_EQ(totals.other_bytes, 44 + 8 + 4);
}

TEST_F(TrackedHeapTest, NamesThePlaceWhereMemoryRanOut) {
  TrackedHeap heap;
  fail_to_allocate(heap, 1);
  EXPECT_ERROR(12, test::detail(QM_W("Realloc FAILED. size: %i l: 195"), sizeof(void*)).c_str());
  fail_to_allocate(heap, 2);
  EXPECT_ERROR(12, QM_W("Realloc FAILED. size: 8 l: 199"));
  fail_to_allocate(heap, 2);
  EXPECT_ERROR(12, QM_W("Realloc FAILED. size: 8 l: 199"));
}

TEST_F(TrackedHeapTest, ReportsAFailedResizeAndKeepsTheBlock) {
  TrackedHeap heap;
  void* const block = allocate(heap, 8, "a.c", 7);
  std::memcpy(block, "content", 8);
  void* pointer = block;
  for (const int step : {1, 2}) {
    EXPECT_TRUE(with_allocation_failing(
        step, Shortage::once, [&] { EXPECT_FALSE(heap.reallocate(&pointer, 5000, "b.c", 8)); }));
    EXPECT_ERROR(12, QM_W("Realloc FAILED. size: 5000 l: 202"));
    EXPECT_EQ(pointer, block);
    EXPECT_STREQ(static_cast<char*>(block), "content");
    EXPECT_TRUE(heap.check());
  }
}

TEST_F(TrackedHeapTest, KeepsTheCountRaisedWhenTheListCannotGrow) {
  TrackedHeap heap;
  void* first = allocate(heap);
  fail_to_allocate(heap, 1);
  EXPECT_ERROR(12,
               test::detail(QM_W("Realloc FAILED. size: %i l: 195"), 2 * sizeof(void*)).c_str());
  // Every scan passes the place that is counted but not there.
  EXPECT_EQ(pointer_at(heap, 1), nullptr);
  EXPECT_FALSE(has_place(heap, 2));
  EXPECT_TRUE(heap.check());
  EXPECT_TRUE(heap.contains(first));
  EXPECT_FALSE(heap.contains(&heap));
  EXPECT_EQ(heap.totals().blocks, 1);
  EXPECT_EQ(heap.totals().damaged, 0);
}

TEST_F(TrackedHeapTest, UsesACountedPlaceLaterWithoutRaisingTheCountAgain) {
  TrackedHeap heap;
  void* first = allocate(heap);
  fail_to_allocate(heap, 1);
  fail_to_allocate(heap, 1);
  EXPECT_ERROR(12,
               test::detail(QM_W("Realloc FAILED. size: %i l: 195"), 2 * sizeof(void*)).c_str());
  void* second = allocate(heap);
  EXPECT_EQ(pointer_at(heap, 1), second);
  EXPECT_FALSE(has_place(heap, 2));
  release(heap, first);
  release(heap, second);
}

TEST_F(TrackedHeapTest, CanGrowTheListAfterTheVeryFirstGrowthFailed) {
  TrackedHeap heap;
  fail_to_allocate(heap, 1);
  std::int32_t capacity = -1;
  EXPECT_FALSE(heap.capacity_of(&heap, capacity));
  EXPECT_ERROR(22, test::detail(QM_W("(buffer %p,%p,%i)"), &heap, nullptr, 1).c_str());
  void* block = allocate(heap);
  EXPECT_EQ(pointer_at(heap, 0), block);
}

TEST_F(TrackedHeapTest, LeavesAFreePlaceWhenTheRecordCannotBeAllocated) {
  TrackedHeap heap;
  fail_to_allocate(heap, 2);
  EXPECT_TRUE(heap.check());
  EXPECT_EQ(pointer_at(heap, 0), nullptr);
  void* block = allocate(heap);
  EXPECT_EQ(pointer_at(heap, 0), block);
}

// A heap with a block, a half-built record behind it, and, as its place was taken before the list
// was damaged, a block behind that.
class HalfBuilt : public TrackedHeapTest {
 protected:
  HalfBuilt() {
    before = allocate(heap);
    void* between = allocate(heap);
    behind = allocate(heap);
    release(heap, between);
    fail_to_allocate(heap, 2, 5);
  }

  TrackedHeap heap;
  void* before;
  void* behind;
};

TEST_F(HalfBuilt, RecordIsSeenAsDamage) {
  EXPECT_FALSE(heap.check());
  EXPECT_ERROR(14, QM_W("In blocklist."));
  const BlockTotals totals = heap.totals();
  EXPECT_EQ(totals.blocks, 2);
  EXPECT_EQ(totals.damaged, 1);
  EXPECT_EQ(totals.other_bytes, 44 + 2 * 8);
}

TEST_F(HalfBuilt, RecordHidesTheBlocksBehindIt) {
  std::int32_t capacity = -1;
  EXPECT_FALSE(heap.capacity_of(behind, capacity));
  EXPECT_STANDARD_ERROR(14);
  EXPECT_FALSE(heap.contains(behind));
  void* pointer = behind;
  EXPECT_FALSE(heap.reallocate(&pointer, 0, "a.c", 3));
  EXPECT_ERROR(22, test::detail(QM_W("No qm allocated buffer: %p, 0 ([3]: a.c)"), behind).c_str());
  EXPECT_EQ(pointer, behind);
}

TEST_F(HalfBuilt, RecordLeavesTheBlocksBeforeItInUse) {
  std::int32_t capacity = -1;
  EXPECT_TRUE(heap.capacity_of(before, capacity));
  EXPECT_TRUE(heap.reallocate(&before, 100, nullptr, 0));
  release(heap, before);
  EXPECT_EQ(pointer_at(heap, 0), allocate(heap));
}

TEST_F(HalfBuilt, RecordCanBeDescribed) {
  char file[20];
  char dump[60];
  qm_mem_info info{1, file, sizeof file, dump, sizeof dump, -7, -7, &info};
  EXPECT_TRUE(heap.describe(info));
  EXPECT_STREQ(file, "unknown file");
  EXPECT_STREQ(dump, "<        > 00 00 00 00 00 00 00 00");
  EXPECT_EQ(info.line, 0);
  EXPECT_EQ(info.capacity, 8);
  EXPECT_EQ(info.pointer, nullptr);
}

TEST_F(TrackedHeapTest, TreatsASizeBeyondAnyCapacityAsExhaustedMemory) {
  TrackedHeap heap;
  void* block = allocate(heap);
  void* const kept = block;
  for (const std::int32_t size : {0x7FFFFFFD, 0x7FFFFFFE, 0x7FFFFFFF}) {
    EXPECT_FALSE(heap.reallocate(&block, size, nullptr, 0));
    EXPECT_ERROR(12, test::detail(QM_W("Realloc FAILED. size: %i l: 202"), size).c_str());
    EXPECT_EQ(block, kept);
    EXPECT_TRUE(heap.check());
  }
  void* fresh = nullptr;
  EXPECT_FALSE(heap.reallocate(&fresh, 0x7FFFFFFF, nullptr, 0));
  EXPECT_ERROR(12, QM_W("Realloc FAILED. size: 2147483647 l: 199"));
  EXPECT_EQ(fresh, nullptr);
  EXPECT_FALSE(heap.check());
}

TEST_F(TrackedHeapTest, IgnoresWhatItCannotDiscard) {
  TrackedHeap heap;
  heap.discard(&heap);
  void* block = allocate(heap);
  heap.discard(block);
  heap.discard(block);
  EXPECT_NO_ERROR();
  EXPECT_EQ(heap.totals().blocks, 0);
}

TEST_F(TrackedHeapTest, SurvivesTheFailureOfEachAllocation) {
  test::fail_each_allocation([] {
    TrackedHeap heap;
    void* blocks[3] = {};
    for (void*& block : blocks) heap.reallocate(&block, 5, "a.c", 1);
    for (void*& block : blocks) {
      if (block == nullptr) continue;
      std::memset(block, 'x', 5);
      heap.reallocate(&block, 500, "bb.c", 2);
      EXPECT_EQ(static_cast<char*>(block)[4], 'x');
    }
    if (!test::allocation_refused()) {
      EXPECT_TRUE(heap.check());
      for (void*& block : blocks) EXPECT_TRUE(heap.reallocate(&block, 0, nullptr, 0));
    } else {
      EXPECT_NE(test::thread_error().code, 0);
    }
  });
}

TEST_F(TrackedHeapTest, HoldsNoLockAfterAnException) {
  test::throw_at_each_allocation([] {
    TrackedHeap heap;
    try {
      void* block = nullptr;
      heap.reallocate(&block, 5, "a.c", 1);
      heap.reallocate(&block, 500, "b.c", 2);
    } catch (...) {
      void* block = nullptr;
      EXPECT_TRUE(heap.reallocate(&block, 5, nullptr, 0));
      throw;
    }
  });
}

TEST_F(TrackedHeapTest, ServesThreadsThatResizeAndMeasure) {
  TrackedHeap heap;
  void* shared = allocate(heap, 4);
  std::atomic<bool> done{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      while (!done) {
        std::int32_t capacity = 0;
        if (!heap.capacity_of(shared, capacity) || capacity != 4 || !heap.check()) ++wrong;
        heap.totals();
      }
      error_thread_clear();
    });
    threads.emplace_back([&] {
      void* block = nullptr;
      for (int size = 1; size < 2000; ++size) {
        if (!heap.reallocate(&block, size % 300, "a.c", size)) ++wrong;
      }
      if (!heap.reallocate(&block, 0, nullptr, 0)) ++wrong;
    });
  }
  threads[1].join();
  threads[3].join();
  done = true;
  threads[0].join();
  threads[2].join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(heap.totals().blocks, 1);
}

}  // namespace
}  // namespace qmsd
