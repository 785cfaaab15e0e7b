// Tracked blocks: allocating, resizing, releasing, measuring, describing.
#include <climits>
#include <thread>
#include <vector>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

// Sizes that cannot be had: they leave no room for rounding up, or exceed the address space.
constexpr std::int32_t kTooMuch[] = {
    INT_MAX - 2, INT_MAX - 1,      INT_MAX,
#ifdef _WIN32  // a 64-bit system may well give that much
    INT_MAX - 3, INT_MAX - 0x1000,
#endif
};

class Memory : public KernelTest {
 protected:
  std::int32_t capacity_of(void* block) {
    qm_mem_size record{block, -1};
    EXPECT_EQ(kernel()(QM_CALL_MEMSIZE, &record), 1);
    EXPECT_EQ(record.pointer, block);
    return record.size;
  }
  void* resize(void* block, std::int32_t size) {
    qm_realloc record{block, size};
    EXPECT_EQ(kernel()(QM_CALL_REALLOC, &record), 1);
    EXPECT_EQ(record.size, size);
    return record.pointer;
  }
  void* positioned(void* block, std::int32_t size, const char* file, std::int32_t line) {
    qm_realloc_pos record{block, size, file, line};
    EXPECT_EQ(kernel()(QM_CALL_REALLOCPOS, &record), 1);
    EXPECT_EQ(record.size, size);
    EXPECT_EQ(record.file, file);
    EXPECT_EQ(record.line, line);
    return record.pointer;
  }

  static Failure not_ours(const void* pointer, std::int32_t size) {
    return failure(22, "No qm allocated buffer: %s, %i ([0]: )", pointer_digits(pointer).c_str(),
                   size);
  }
  static Failure no_memory(std::int32_t size, int place) {
    return failure(12, "Realloc FAILED. size: %i l: %i", size, place);
  }

  static void* foreign() { return &foreign_; }
  static inline std::uint32_t foreign_ = 0;
};

// ---- Allocating and releasing ------------------------------------------------------------------

TEST_F(Memory, IsAllocatedResizedAndReleased) {
  void* block = allocate(100);
  std::memset(block, 0x5A, 100);
  block = resize(block, 5000);
  const std::vector<unsigned char> expected(100, 0x5A);
  EXPECT_EQ(std::memcmp(block, expected.data(), 100), 0);
  block = resize(block, 10);
  EXPECT_EQ(std::memcmp(block, expected.data(), 10), 0);
  release(block);
  EXPECT_EQ(kernel().live_blocks(), 0);
}

TEST_F(Memory, IsNotNeededForSizeZero) {
  qm_realloc record{nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_REALLOC, &record), 1);
  EXPECT_EQ(record.pointer, nullptr);
  EXPECT_EQ(positioned(nullptr, 0, "file.c", 1), nullptr);
  EXPECT_EQ(kernel().live_blocks(), 0);
}

TEST_F(Memory, IsReleasedWithAPositionToo) {
  EXPECT_EQ(positioned(allocate(4), 0, "file.c", 1), nullptr);
  EXPECT_EQ(positioned(allocate(4), 0, nullptr, 0), nullptr);
}

TEST_F(Memory, HasACapacityRoundedUpToFour) {
  for (const std::int32_t size : {1, 2, 3, 4, 5, 7, 8, 9, 4095, 4096, 4097}) {
    void* block = allocate(size);
    EXPECT_EQ(capacity_of(block), (size + 3) / 4 * 4) << size;
    EXPECT_EQ(capacity_of(block = resize(block, size + 1)), (size + 4) / 4 * 4) << size;
    release(block);
  }
}

TEST_F(Memory, IsAlignedForAnyType) {
  for (const std::int32_t size : {1, 8, 24, 1000}) {
    void* block = allocate(size);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
    release(block);
  }
}

TEST_F(Memory, HasZeroesWhereTheSizeWasRoundedUp) {
  void* block = allocate(5);
  std::memset(block, 0xEE, 5);
  const unsigned char* bytes = static_cast<unsigned char*>(block);
  EXPECT_EQ(bytes[5] | bytes[6] | bytes[7], 0);
  release(block);
}

TEST_F(Memory, IsReleasedByTheKernelsEndIfNobodyElseDid) {
  allocate(100);
  positioned(nullptr, 10, "file.c", 1);
  unload_kernel();
}

// ---- Refusals ----------------------------------------------------------------------------------

TEST_F(Memory, HasNoNegativeSize) {
  void* block = allocate(8);
  for (const std::int32_t size : {-1, -4, INT_MIN}) {
    for (void* pointer : {static_cast<void*>(nullptr), block, foreign()}) {
      qm_realloc record{pointer, size};
      EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOC, record, failure(22, "(!ptr || size < 0)")));
    }
    for (void* pointer : {static_cast<void*>(nullptr), block}) {
      qm_realloc_pos record{pointer, size, "file.c", 7};
      EXPECT_TRUE(
          kernel().refuses(QM_CALL_REALLOCPOS, record, failure(22, "(size < 0) || (!buffer)")));
    }
    qm_realloc_pos record{foreign(), size, "file.c", 7};
    EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOCPOS, record, failure(22, "(!ptr || size < 0)")));
  }
  EXPECT_EQ(capacity_of(block), 8);
  release(block);
}

// First without any block ever allocated, then beside a live one, then beside a free entry.
TEST_F(Memory, IsOnlyWhatWasAllocatedHere) {
  const auto expect_refused = [this](void* pointer) {
    for (const std::int32_t size : {0, 1, 100}) {
      qm_realloc record{pointer, size};
      EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOC, record, not_ours(pointer, size)));
      qm_realloc_pos positioned_record{pointer, size, "file.c", 7};
      EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOCPOS, positioned_record, not_ours(pointer, size)));
    }
  };
  expect_refused(foreign());
  void* block = allocate(8);
  expect_refused(foreign());
  expect_refused(static_cast<char*>(block) + 1);
  expect_refused(static_cast<char*>(block) + 4);
  release(block);
  expect_refused(foreign());
  expect_refused(block);
}

TEST_F(Memory, IsMeasuredOnlyWhereItWasAllocatedHere) {
  qm_mem_size nothing{nullptr, 77};
  EXPECT_TRUE(kernel().refuses(QM_CALL_MEMSIZE, nothing, failure(22, "(!ptr || !buffer)")));
  qm_mem_size unknown{foreign(), 77};
  EXPECT_TRUE(kernel().refuses(QM_CALL_MEMSIZE, unknown,
                               failure(22, "(buffer %s,%s,0)", pointer_digits(foreign()).c_str(),
                                       pointer_digits(nullptr).c_str())))
      << "no block was ever allocated";
  void* block = allocate(8);
  EXPECT_TRUE(kernel().refuses(QM_CALL_MEMSIZE, unknown, failure(22, "(buffer)")));
  release(block);
  EXPECT_TRUE(kernel().refuses(QM_CALL_MEMSIZE, unknown, failure(22, "(buffer)")));
}

TEST_F(Memory, StaysAsItWasWhenItCannotGrow) {
  void* block = positioned(nullptr, 8, "file.c", 7);
  std::memcpy(block, "contents", 8);
  for (const std::int32_t size : kTooMuch) {
    qm_realloc record{block, size};
    EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOC, record, no_memory(size, 202)));
    qm_realloc_pos positioned_record{block, size, nullptr, 1};
    EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOCPOS, positioned_record, no_memory(size, 202)));
  }
  EXPECT_EQ(capacity_of(block), 8);
  EXPECT_EQ(std::memcmp(block, "contents", 8), 0);
  EXPECT_EQ(kernel()(QM_CALL_MEMCHECK), 1);
  release(block);
}

// ---- A block that could not be completed -------------------------------------------------------

// It keeps its place in the list, where it stops every search.
class HalfBuiltBlock : public Memory {
 protected:
  void SetUp() override {
    Memory::SetUp();
    before_ = allocate(8);
    qm_realloc record{nullptr, INT_MAX};
    EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOC, record, no_memory(INT_MAX, 199)));
    behind_ = allocate(8);
  }
  void TearDown() override {
    unload_kernel();
    Memory::TearDown();
  }

  void* before_ = nullptr;
  void* behind_ = nullptr;
};

TEST_F(HalfBuiltBlock, IsFoundByTheCheckOfAllBlocks) {
  EXPECT_TRUE(kernel().fails(QM_CALL_MEMCHECK, nullptr, failure(14, "In blocklist.")));
}

TEST_F(HalfBuiltBlock, LeavesTheBlocksBeforeItUsable) {
  EXPECT_EQ(capacity_of(before_), 8);
  before_ = resize(before_, 100);
  EXPECT_EQ(capacity_of(before_), 100);
  release(before_);
}

TEST_F(HalfBuiltBlock, HidesTheBlocksBehindIt) {
  qm_mem_size size{behind_, 77};
  EXPECT_TRUE(kernel().refuses(QM_CALL_MEMSIZE, size, failure(14)));
  qm_realloc record{behind_, 16};
  EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOC, record, not_ours(behind_, 16)));
  qm_realloc_pos positioned_record{behind_, 16, "file.c", 7};
  EXPECT_TRUE(kernel().refuses(QM_CALL_REALLOCPOS, positioned_record, not_ours(behind_, 16)));
}

TEST_F(HalfBuiltBlock, IsDescribedWithoutABlock) {
  char file[32];
  char dump[64];
  qm_mem_info info{1, file, sizeof file, dump, sizeof dump, -7, -7, foreign()};
  EXPECT_EQ(kernel()(QM_CALL_MEMINFO, &info), 1);
  EXPECT_EQ(info.pointer, nullptr);
  EXPECT_STREQ(file, "unknown file");
  EXPECT_EQ(info.line, 0);
}

TEST_F(HalfBuiltBlock, DoesNotStopNewBlocks) {
  void* block = allocate(12);
  qm_mem_info info{3, nullptr, 0, nullptr, 0, 0, 0, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_MEMINFO, &info), 1);
  EXPECT_EQ(info.pointer, block);
}

// ---- The list ----------------------------------------------------------------------------------

class MemoryList : public Memory {
 protected:
  struct Description {
    std::int32_t result;
    std::string file;
    std::string dump;
    std::int32_t line;
    std::int32_t capacity;
    void* pointer;
  };
  Description describe(std::int32_t index) {
    char file[64] = "#";
    char dump[64] = "#";
    qm_mem_info info{index, file, sizeof file, dump, sizeof dump, -7, -7, foreign()};
    const std::int32_t result = kernel()(QM_CALL_MEMINFO, &info);
    EXPECT_EQ(info.index, index);
    EXPECT_EQ(info.file, file);
    EXPECT_EQ(info.dump, dump);
    return {result, file, dump, info.line, info.capacity, info.pointer};
  }
  void expect_free(std::int32_t index) {
    const Description found = describe(index);
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.file, "");
    EXPECT_EQ(found.dump, "");
    EXPECT_EQ(found.line, -1);
    EXPECT_EQ(found.capacity, -1);
    EXPECT_EQ(found.pointer, nullptr);
  }
  // The dump of a block with these contents.
  std::string dump_of(std::string_view contents) {
    void* block = allocate(static_cast<std::int32_t>(contents.size()));
    std::memcpy(block, contents.data(), contents.size());
    const std::string dump = describe(0).dump;
    release(block);
    return dump;
  }
};

TEST_F(MemoryList, IsSoundWhenEmpty) {
  EXPECT_EQ(kernel()(QM_CALL_MEMCHECK), 1);
  auto ignored = poisoned<std::array<std::uint32_t, 2>>();
  EXPECT_EQ(kernel()(QM_CALL_MEMCHECK, &ignored), 1);
  EXPECT_TRUE(is_poison(ignored));
}

TEST_F(MemoryList, EndsBehindItsLastEntry) {
  qm_mem_info info{0, nullptr, 0, nullptr, 0, 0, 0, nullptr};
  EXPECT_TRUE(kernel().refuses(QM_CALL_MEMINFO, info, failure(34)));
  void* block = allocate(4);
  for (const std::int32_t index : {1, 2, INT_MAX}) {
    char file[8] = "file";
    char dump[8] = "dump";
    info = {index, file, sizeof file, dump, sizeof dump, -7, -7, foreign()};
    EXPECT_TRUE(kernel().refuses(QM_CALL_MEMINFO, info, failure(34))) << index;
    EXPECT_STREQ(file, "file");
    EXPECT_STREQ(dump, "dump");
  }
  release(block);
}

TEST_F(MemoryList, HasNoNegativeIndexOrBufferSize) {
  void* block = allocate(4);
  char file[8] = "file";
  char dump[8] = "dump";
  const qm_mem_info good{0, file, sizeof file, dump, sizeof dump, -7, -7, foreign()};
  for (const std::int32_t negative : {-1, INT_MIN}) {
    for (std::int32_t qm_mem_info::*field :
         {&qm_mem_info::index, &qm_mem_info::file_size, &qm_mem_info::dump_size}) {
      qm_mem_info info = good;
      info.*field = negative;
      EXPECT_TRUE(kernel().refuses(QM_CALL_MEMINFO, info, failure(22)));
    }
  }
  EXPECT_STREQ(file, "file");
  EXPECT_STREQ(dump, "dump");
  release(block);
}

TEST_F(MemoryList, DescribesABlockWithoutAPosition) {
  void* block = allocate(6);
  std::memcpy(block, "abcdef", 6);
  const Description found = describe(0);
  EXPECT_EQ(found.result, 1);
  EXPECT_EQ(found.file, "unknown file");
  EXPECT_EQ(found.line, 0);
  EXPECT_EQ(found.capacity, 8);
  EXPECT_EQ(found.pointer, block);
  EXPECT_EQ(found.dump, "<abcdef  > 61 62 63 64 65 66 00 00");
  release(block);
}

TEST_F(MemoryList, KeepsThePositionUntilAnotherOneComes) {
  char name[] = "first.c";
  void* block = positioned(nullptr, 4, name, 17);
  name[0] = '#';
  EXPECT_EQ(describe(0).file, "first.c") << "the name is copied";
  EXPECT_EQ(describe(0).line, 17);
  block = positioned(block, 100, nullptr, 99);
  EXPECT_EQ(describe(0).file, "first.c");
  EXPECT_EQ(describe(0).line, 17);
  block = resize(block, 200);
  EXPECT_EQ(describe(0).file, "first.c");
  EXPECT_EQ(describe(0).line, 17);
  block = positioned(block, 100, "second.c", 18);
  EXPECT_EQ(describe(0).file, "second.c");
  EXPECT_EQ(describe(0).line, 18);
  EXPECT_EQ(describe(0).capacity, 100);
  release(block);
}

TEST_F(MemoryList, KeepsTheLineOfANewBlockWithoutAFile) {
  void* block = positioned(nullptr, 4, nullptr, 17);
  EXPECT_EQ(describe(0).file, "unknown file");
  EXPECT_EQ(describe(0).line, 17);
  block = positioned(block, 4, "late.c", 5);
  EXPECT_EQ(describe(0).file, "late.c");
  EXPECT_EQ(describe(0).line, 5);
  release(block);
}

TEST_F(MemoryList, ShowsBytesAsCharactersAndNumbers) {
  EXPECT_EQ(dump_of(std::string_view("AB\0\0\0\0\0\0", 8)), "<AB      > 41 42 00 00 00 00 00 00");
  EXPECT_EQ(dump_of("abcd"), "<abcd    > 61 62 63 64 00 00 00 00");
  EXPECT_EQ(dump_of("%s%d%n%%"), "<%s%d%n%%> 25 73 25 64 25 6e 25 25");
  EXPECT_EQ(dump_of("longer than eight"), "<longer t> 6c 6f 6e 67 65 72 20 74");
  EXPECT_EQ(dump_of(std::string_view("a\0b\0c\0d\0", 8)), "<a b c d > 61 00 62 00 63 00 64 00");
  EXPECT_EQ(dump_of("\x80\x81\x82\x83\x84\x85\x86\xFF"),
            "<\x80\x81\x82\x83\x84\x85\x86\xFF> 80 81 82 83 84 85 86 ff");
  EXPECT_EQ(dump_of("\x01\x0A\x0D\x7F"), "<\x01\x0A\x0D\x7F    > 01 0a 0d 7f 00 00 00 00");
}

TEST_F(MemoryList, CutsTextsToTheCallersBuffers) {
  void* block = positioned(nullptr, 8, "file.c", 17);
  std::memcpy(block, "contents", 8);
  const std::string whole_file = "file.c";
  const std::string whole_dump = "<contents> 63 6f 6e 74 65 6e 74 73";
  for (std::int32_t size = 0; size <= 40; ++size) {
    char file[48];
    char dump[48];
    std::memset(file, '#', sizeof file);
    std::memset(dump, '#', sizeof dump);
    qm_mem_info info{0, file, size, dump, size, -7, -7, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_MEMINFO, &info), 1);
    EXPECT_EQ(info.pointer, block);
    const auto room = static_cast<std::size_t>(size);
    EXPECT_EQ(file[room], '#') << size;
    EXPECT_EQ(dump[room], '#') << size;
    if (size == 0) continue;
    EXPECT_EQ(std::string(file), whole_file.substr(0, room - 1)) << size;
    EXPECT_EQ(std::string(dump), whole_dump.substr(0, room - 1)) << size;
  }
  release(block);
}

TEST_F(MemoryList, IsDescribedWithoutBuffersToo) {
  void* block = positioned(nullptr, 8, "file.c", 17);
  qm_mem_info info{0, nullptr, 100, nullptr, 100, -7, -7, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_MEMINFO, &info), 1);
  EXPECT_EQ(info.line, 17);
  EXPECT_EQ(info.capacity, 8);
  EXPECT_EQ(info.pointer, block);
  release(block);
  info = {0, nullptr, 100, nullptr, 100, -7, -7, block};
  EXPECT_EQ(kernel()(QM_CALL_MEMINFO, &info), 1);
  EXPECT_EQ(info.pointer, nullptr);
}

TEST_F(MemoryList, ReusesItsLowestFreeEntry) {
  void* blocks[5];
  for (void*& block : blocks) block = allocate(4);
  for (std::int32_t i = 0; i < 5; ++i) EXPECT_EQ(describe(i).pointer, blocks[i]);
  release(blocks[3]);
  release(blocks[1]);
  expect_free(1);
  expect_free(3);
  EXPECT_EQ(describe(4).pointer, blocks[4]) << "other blocks keep their index";
  blocks[1] = allocate(4);
  EXPECT_EQ(describe(1).pointer, blocks[1]);
  expect_free(3);
  blocks[3] = allocate(4);
  EXPECT_EQ(describe(3).pointer, blocks[3]);
  void* next = allocate(4);
  EXPECT_EQ(describe(5).pointer, next);
  EXPECT_EQ(describe(6).result, 0);
  release(next);
  for (void* block : blocks) release(block);
  for (std::int32_t i = 0; i < 6; ++i) expect_free(i);
  EXPECT_EQ(describe(6).result, 0) << "the list never shrinks";
}

TEST_F(MemoryList, KeepsABlocksIndexWhenItIsResized) {
  void* first = allocate(4);
  void* second = allocate(4);
  first = resize(first, 100000);
  EXPECT_EQ(describe(0).pointer, first);
  EXPECT_EQ(describe(0).capacity, 100000);
  release(first);
  release(second);
}

TEST_F(MemoryList, TakesManyBlocks) {
  std::vector<void*> blocks;
  for (int i = 0; i < 1000; ++i) blocks.push_back(allocate(i + 1));
  EXPECT_EQ(kernel().live_blocks(), 1000);
  EXPECT_EQ(kernel()(QM_CALL_MEMCHECK), 1);
  for (void* block : blocks) release(block);
}

// ---- The calling thread's error ----------------------------------------------------------------

TEST_F(Memory, LeavesTheCallersErrorAloneWhenItSucceeds) {
  const Error planted = kernel().plant_error();
  ASSERT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
  void* block = positioned(nullptr, 4, "file.c", 1);
  block = positioned(block, 40, "file.c", 2);
  EXPECT_EQ(capacity_of(block), 40);
  block = positioned(block, 0, "file.c", 3);
  EXPECT_EQ(kernel().error(), planted);
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1) << "the stack is the caller's";
  EXPECT_EQ(kernel().error(), planted);
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
}

TEST_F(Memory, LeavesAFreshThreadWithoutAnError) {
  std::thread([this] {
    void* block = positioned(nullptr, 4, "file.c", 1);
    block = positioned(block, 40, "file.c", 2);
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    qm_realloc_pos record{foreign(), 4, "file.c", 3};
    EXPECT_EQ(kernel()(QM_CALL_REALLOCPOS, &record), 0);
    EXPECT_EQ(kernel().error(), (Error{22, not_ours(foreign(), 4).message()}));
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0) << "nothing was left on the stack";
    release(block);
  }).join();
}

}  // namespace
}  // namespace contract
