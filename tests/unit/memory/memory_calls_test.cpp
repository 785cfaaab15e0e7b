// The function codes of the tracked allocator.
#include "memory/memory_calls.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "tests/support/allocation_failures.h"
#include "tests/support/poison.h"
#include "tests/unit/memory/memory_test.h"

namespace qmsd {
namespace {

class MemoryCalls : public test::Memory {
 protected:
  int foreign_ = 0;
};

TEST_F(MemoryCalls, AllocateMeasureAndRelease) {
  qm_realloc record{nullptr, 5};
  ASSERT_TRUE(memory_realloc(&record));
  ASSERT_NE(record.pointer, nullptr);
  EXPECT_EQ(capacity_of(record.pointer), 8);
  release(record.pointer);
  EXPECT_NO_ERROR();
}

TEST_F(MemoryCalls, ResizeKeepsTheContent) {
  qm_realloc record{nullptr, 8};
  ASSERT_TRUE(memory_realloc(&record));
  std::memcpy(record.pointer, "content", 8);
  record.size = 100000;
  ASSERT_TRUE(memory_realloc(&record));
  EXPECT_STREQ(static_cast<char*>(record.pointer), "content");
  EXPECT_EQ(capacity_of(record.pointer), 100000);
}

TEST_F(MemoryCalls, SizeZeroWithoutAPointerDoesNothing) {
  qm_realloc record{nullptr, 0};
  EXPECT_TRUE(memory_realloc(&record));
  EXPECT_EQ(record.pointer, nullptr);
  qm_mem_info info{};
  EXPECT_FALSE(memory_info(info));
  EXPECT_STANDARD_ERROR(34);
}

TEST_F(MemoryCalls, ReallocChecksItsRecord) {
  EXPECT_FALSE(memory_realloc(nullptr));
  EXPECT_ERROR(22, QM_W("(!ptr || size < 0)"));
  for (const std::int32_t size : {-1, INT32_MIN}) {
    void* block = allocate(4);
    qm_realloc record{block, size};
    EXPECT_FALSE(memory_realloc(&record));
    EXPECT_ERROR(22, QM_W("(!ptr || size < 0)"));
    EXPECT_EQ(record.pointer, block);
  }
}

TEST_F(MemoryCalls, ReallocRefusesForeignPointers) {
  for (const std::int32_t size : {0, 10}) {
    allocate(4);
    qm_realloc record{&foreign_, size};
    EXPECT_FALSE(memory_realloc(&record));
    EXPECT_ERROR(
        22, test::detail(QM_W("No qm allocated buffer: %p, %i ([0]: )"), &foreign_, size).c_str());
    EXPECT_EQ(record.pointer, &foreign_);
  }
}

TEST_F(MemoryCalls, APointerIntoABlockIsForeign) {
  qm_realloc record{static_cast<char*>(allocate(8)) + 4, 0};
  EXPECT_FALSE(memory_realloc(&record));
  EXPECT_EQ(test::thread_error().code, 22);
}

TEST_F(MemoryCalls, AReleasedBlockIsForeign) {
  void* block = allocate(8);
  release(block);
  qm_realloc record{block, 0};
  EXPECT_FALSE(memory_realloc(&record));
  EXPECT_EQ(test::thread_error().code, 22);
}

TEST_F(MemoryCalls, KernelCallersSeeTheirPositionInTheMessage) {
  void* pointer = &foreign_;
  EXPECT_FALSE(tracked_realloc(&pointer, 7, "dir/a.c", 33));
  EXPECT_ERROR(
      22, test::detail(QM_W("No qm allocated buffer: %p, 7 ([33]: dir/a.c)"), &foreign_).c_str());
  EXPECT_FALSE(tracked_realloc(&pointer, -1, nullptr, 0));
  EXPECT_ERROR(22, QM_W("(size < 0) || (!buffer)"));
  EXPECT_FALSE(tracked_realloc(nullptr, 1, nullptr, 0));
  EXPECT_ERROR(22, QM_W("(size < 0) || (!buffer)"));
}

TEST_F(MemoryCalls, SizeChecksItsRecord) {
  qm_mem_size record{nullptr, -1};
  EXPECT_FALSE(memory_size(nullptr));
  EXPECT_ERROR(22, QM_W("(!ptr || !buffer)"));
  EXPECT_FALSE(memory_size(&record));
  EXPECT_ERROR(22, QM_W("(!ptr || !buffer)"));
  EXPECT_EQ(record.size, -1);
}

TEST_F(MemoryCalls, SizeOfAForeignPointerFails) {
  qm_mem_size record{&foreign_, -1};
  EXPECT_FALSE(memory_size(&record));
  EXPECT_ERROR(22, test::detail(QM_W("(buffer %p,%p,%i)"), &foreign_, nullptr, 0).c_str());
  release(allocate(4));
  EXPECT_FALSE(memory_size(&record));
  EXPECT_ERROR(22, QM_W("(buffer)"));
  EXPECT_EQ(record.size, -1);
}

TEST_F(MemoryCalls, PositionIsShownByTheInformation) {
  qm_realloc_pos record{nullptr, 5, "dir/a.c", 12};
  ASSERT_TRUE(memory_realloc_position(record));
  EXPECT_EQ(place(0).file, "dir/a.c");
  EXPECT_EQ(place(0).line, 12);
  EXPECT_EQ(place(0).capacity, 8);
  EXPECT_EQ(place(0).pointer, record.pointer);
  record.file = "b.c";
  record.line = 13;
  ASSERT_TRUE(memory_realloc_position(record));
  EXPECT_EQ(place(0).file, "b.c");
  EXPECT_EQ(place(0).line, 13);
}

TEST_F(MemoryCalls, AResizeWithoutAFileKeepsThePosition) {
  qm_realloc_pos record{nullptr, 5, "dir/a.c", 12};
  ASSERT_TRUE(memory_realloc_position(record));
  record.file = nullptr;
  record.line = 99;
  record.size = 50;
  ASSERT_TRUE(memory_realloc_position(record));
  qm_realloc plain{record.pointer, 60};
  ASSERT_TRUE(memory_realloc(&plain));
  EXPECT_EQ(place(0).file, "dir/a.c");
  EXPECT_EQ(place(0).line, 12);
  EXPECT_EQ(place(0).capacity, 60);
}

TEST_F(MemoryCalls, ABlockWithoutAFileStillHasItsLine) {
  qm_realloc_pos record{nullptr, 5, nullptr, 12};
  ASSERT_TRUE(memory_realloc_position(record));
  EXPECT_EQ(place(0).file, "unknown file");
  EXPECT_EQ(place(0).line, 12);
}

TEST_F(MemoryCalls, PositionedCallReleases) {
  qm_realloc_pos record{allocate(4), 0, "a.c", 1};
  EXPECT_TRUE(memory_realloc_position(record));
  EXPECT_EQ(record.pointer, nullptr);
  EXPECT_EQ(place(0).pointer, nullptr);
}

TEST_F(MemoryCalls, PositionedCallChecksItsRecord) {
  qm_realloc_pos fresh{nullptr, -1, "a.c", 1};
  EXPECT_FALSE(memory_realloc_position(fresh));
  EXPECT_ERROR(22, QM_W("(size < 0) || (!buffer)"));
  qm_realloc_pos ours{allocate(4), -1, "a.c", 1};
  EXPECT_FALSE(memory_realloc_position(ours));
  EXPECT_ERROR(22, QM_W("(size < 0) || (!buffer)"));
  qm_realloc_pos foreign{&foreign_, -1, "a.c", 1};
  EXPECT_FALSE(memory_realloc_position(foreign));
  EXPECT_ERROR(22, QM_W("(!ptr || size < 0)"));
}

TEST_F(MemoryCalls, PositionedCallReportsAForeignPointerWithoutThePosition) {
  qm_realloc_pos record{&foreign_, 9, "a.c", 77};
  EXPECT_FALSE(memory_realloc_position(record));
  EXPECT_ERROR(22, test::detail(QM_W("No qm allocated buffer: %p, 9 ([0]: )"), &foreign_).c_str());
  EXPECT_EQ(record.pointer, &foreign_);
}

TEST_F(MemoryCalls, PositionedCallLeavesTheErrorStateAlone) {
  fail(77, QM_W("marker"));
  qm_realloc_pos record{allocate(4), 40, "a.c", 1};
  EXPECT_TRUE(memory_realloc_position(record));
  EXPECT_ERROR(77, QM_W("marker"));
  std::thread([&record] {
    EXPECT_TRUE(memory_realloc_position(record));
    EXPECT_NO_ERROR();
    EXPECT_FALSE(pop_error());  // nothing was left on the stack either
    error_thread_clear();
  }).join();
}

TEST_F(MemoryCalls, CheckOfAnEmptyOrSoundListSucceeds) {
  EXPECT_TRUE(memory_check());
  allocate(4);
  release(allocate(4));
  EXPECT_TRUE(memory_check());
  EXPECT_NO_ERROR();
}

TEST_F(MemoryCalls, InformationChecksItsRecord) {
  allocate(4);
  struct {
    std::int32_t index, file_size, dump_size, error;
  } const rows[] = {{-1, 0, 0, 22},        {INT32_MIN, 0, 0, 22},        {0, -1, 0, 22},
                    {0, 0, -1, 22},        {0, INT32_MIN, 9, 22},        {1, 0, 0, 34},
                    {INT32_MAX, 9, 9, 34}, {INT32_MAX, 9, INT32_MIN, 22}};
  for (const auto& row : rows) {
    auto record = test::poisoned<qm_mem_info>();
    char text[10] = "kept";
    record.index = row.index;
    record.file = record.dump = text;
    record.file_size = row.file_size;
    record.dump_size = row.dump_size;
    EXPECT_FALSE(memory_info(record));
    EXPECT_STANDARD_ERROR(row.error);
    EXPECT_STREQ(text, "kept");
    EXPECT_TRUE(test::is_poison(record.line) && test::is_poison(record.capacity) &&
                test::is_poison(record.pointer));
  }
}

TEST_F(MemoryCalls, InformationDescribesAFreePlace) {
  release(allocate(4));
  EXPECT_EQ(place(0).file, "");
  EXPECT_EQ(place(0).dump, "");
  EXPECT_EQ(place(0).line, -1);
  EXPECT_EQ(place(0).capacity, -1);
  EXPECT_EQ(place(0).pointer, nullptr);
}

TEST_F(MemoryCalls, InformationWritesOnlyBuffersThatAreThere) {
  for (const bool live : {true, false}) {
    void* block = allocate(4, "a.c", 3);
    if (!live) release(block);
    char text[4] = "yes";
    qm_mem_info no_buffer{0, nullptr, 4, nullptr, 4, 0, 0, nullptr};
    EXPECT_TRUE(memory_info(no_buffer));
    qm_mem_info no_size{0, text, 0, text, 0, 0, 0, nullptr};
    EXPECT_TRUE(memory_info(no_size));
    EXPECT_STREQ(text, "yes");
    EXPECT_EQ(no_size.line, live ? 3 : -1);
    if (live) release(block);
  }
}

TEST_F(MemoryCalls, InformationIsCutToItsBuffers) {
  std::memcpy(allocate(8, "directory/file.c", 1), "abcdefgh", 8);
  char file[10] = "?";
  char dump[10] = "?";
  qm_mem_info record{0, file, sizeof file, dump, sizeof dump, 0, 0, nullptr};
  EXPECT_TRUE(memory_info(record));
  EXPECT_STREQ(file, "directory");
  EXPECT_STREQ(dump, "<abcdefgh");
  record.file_size = record.dump_size = 1;
  EXPECT_TRUE(memory_info(record));
  EXPECT_STREQ(file, "");
  EXPECT_STREQ(dump, "");
}

struct Dump {
  const char* name;
  std::int32_t size;
  const char* bytes;
  const char* text;
};
class Dumps : public MemoryCalls, public testing::WithParamInterface<Dump> {};

TEST_P(Dumps, ShowTheFirstEightBytes) {
  void* block = allocate(GetParam().size);
  std::memcpy(block, GetParam().bytes, static_cast<std::size_t>(GetParam().size));
  EXPECT_EQ(place(0).dump, GetParam().text);
}
INSTANTIATE_TEST_SUITE_P(
    MemoryCalls, Dumps,
    testing::Values(Dump{"Zeros", 8, "AB\0\0\0\0\0", "<AB      > 41 42 00 00 00 00 00 00"},
                    Dump{"RoundedSize", 5, "abcde", "<abcde   > 61 62 63 64 65 00 00 00"},
                    Dump{"SmallBlock", 4, "abcd", "<abcd    > 61 62 63 64 00 00 00 00"},
                    Dump{"LargeBlock", 10, "abcdefghij", "<abcdefgh> 61 62 63 64 65 66 67 68"},
                    Dump{"HighBytes", 8, "\x80\x81\x82\x83\x84\x85\x86\xFF",
                         "<\x80\x81\x82\x83\x84\x85\x86\xFF> 80 81 82 83 84 85 86 ff"}),
    [](const auto& row) { return row.param.name; });

TEST_F(MemoryCalls, SwallowExceptionsWithoutATrace) {
  void* const block = allocate(4);
  fail(77, QM_W("marker"));
  for (void* const pointer : {block, static_cast<void*>(nullptr)}) {
    qm_realloc record{pointer, 5000};
    EXPECT_TRUE(test::with_allocation_failing(
        1, test::Shortage::throws, [&record] { EXPECT_FALSE(memory_realloc(&record)); }));
    EXPECT_EQ(record.pointer, pointer);
    EXPECT_ERROR(77, QM_W("marker"));
  }
  release(block);  // no lock was left behind
}

TEST_F(MemoryCalls, ReleaseOfAKnownBlockLeavesTheErrorStateAlone) {
  fail(77, QM_W("marker"));
  tracked_release(nullptr);
  tracked_release(allocate(4));
  EXPECT_ERROR(77, QM_W("marker"));
  EXPECT_EQ(place(0).pointer, nullptr);
}

TEST_F(MemoryCalls, StatisticsTellTheChangesSinceTheLastReport) {
  tracked_statistics();
  EXPECT_STREQ(tracked_statistics().c_str(),
               "[QMMEM] nblock: 0 (0), nbadblock: 0 (0), allmemsize: 0 (0) bytes, "
               "allothersize: 44 (0) \n");
  allocate(5, "abc", 1);
  EXPECT_STREQ(tracked_statistics().c_str(),
               "[QMMEM] nblock: 1 (1), nbadblock: 0 (0), allmemsize: 8 (8) bytes, "
               "allothersize: 56 (12) \n");
  release(allocate(100));
  allocate(4);
  void* third = allocate(1000);
  EXPECT_STREQ(tracked_statistics().c_str(),
               "[QMMEM] nblock: 3 (2), nbadblock: 0 (0), allmemsize: 1012 (1004) bytes, "
               "allothersize: 72 (16) \n");
  release(third);
  EXPECT_STREQ(tracked_statistics().c_str(),
               "[QMMEM] nblock: 2 (-1), nbadblock: 0 (0), allmemsize: 12 (-1000) bytes, "
               "allothersize: 64 (-8) \n");
}

TEST_F(MemoryCalls, StatisticsThrowWhenTheLineCannotBeMade) {
  EXPECT_TRUE(test::with_allocation_failing(
      1, test::Shortage::once, [] { EXPECT_THROW(tracked_statistics(), std::runtime_error); }));
}

TEST(MemoryWithoutAHeap, RefusesEveryOperation) {
  const test::ErrorState errors;
  ASSERT_TRUE(test::with_allocation_failing(1, test::Shortage::once,
                                            [] { EXPECT_FALSE(tracked_create()); }));
  int foreign = 0;
  qm_realloc resize{nullptr, 4};
  qm_mem_size size{&foreign, 0};
  qm_realloc_pos positioned{nullptr, 4, "a.c", 1};
  qm_mem_info info{};
  const auto refused = [](bool result) {
    EXPECT_FALSE(result);
    EXPECT_STANDARD_ERROR(22);
    error_thread_clear();
  };
  refused(memory_realloc(&resize));
  refused(memory_size(&size));
  refused(memory_realloc_position(positioned));
  refused(memory_check());
  refused(memory_info(info));
  tracked_release(&foreign);
  tracked_destroy();
}

}  // namespace
}  // namespace qmsd
