// What the tests of the tracked allocator share.
#pragma once

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <string>

#include "include/qmsd7.h"
#include "memory/memory_calls.h"
#include "memory/tracked_allocator.h"
#include "services/text/strings.h"
#include "tests/support/expect_error.h"

namespace qmsd::test {

// The detail of a message, as the kernel would format it.
inline WideString detail(const qm_wchar* format, ...) {
  qm_wchar text[kMessageLength];
  va_list arguments;
  va_start(arguments, format);
  format_wide_list(text, kMessageLength, format, arguments);
  va_end(arguments);
  return text;
}

// Error state and tracked heap of a process that has just started.
class Memory : public testing::Test {
 protected:
  Memory() { tracked_create(); }
  ~Memory() override { tracked_destroy(); }

  static void* allocate(std::int32_t size, const char* file = nullptr, std::int32_t line = 0) {
    void* block = nullptr;
    EXPECT_TRUE(tracked_realloc(&block, size, file, line));
    return block;
  }

  static void release(void* block) {
    qm_realloc record{block, 0};
    EXPECT_TRUE(memory_realloc(&record));
    EXPECT_EQ(record.pointer, nullptr);
  }

  static std::int32_t capacity_of(void* block) {
    qm_mem_size record{block, -1};
    EXPECT_TRUE(memory_size(&record));
    return record.size;
  }

  struct Place {
    std::string file;
    std::string dump;
    std::int32_t line;
    std::int32_t capacity;
    void* pointer;
  };
  static Place place(std::int32_t index) {
    char file[100] = "?";
    char dump[100] = "?";
    qm_mem_info record{index, file, sizeof file, dump, sizeof dump, 0, 0, nullptr};
    EXPECT_TRUE(memory_info(record));
    return {file, dump, record.line, record.capacity, record.pointer};
  }

 private:
  ErrorState errors_;
};

}  // namespace qmsd::test
