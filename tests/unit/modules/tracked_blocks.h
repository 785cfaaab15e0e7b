// Counts the tracked blocks that are live, the way an application does it.
#pragma once

#include <gtest/gtest.h>

#include "include/qmsd7.h"
#include "memory/memory_calls.h"

namespace qmsd::test {

inline int live_blocks() {
  int live = 0;
  qm_mem_info place{};
  for (; memory_info(place); ++place.index) live += place.pointer != nullptr;
  return live;
}

// Null is allowed.
inline void release_block(void* block) {
  qm_realloc record{block, 0};
  EXPECT_TRUE(memory_realloc(&record));
}

}  // namespace qmsd::test
