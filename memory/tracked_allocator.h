// The tracked allocator: every buffer that crosses the boundary of the library. It knows its
// blocks, so a pointer handed in is recognised before it is resized or released.
#pragma once

#include <cstdint>

#include "services/text/qm_string.h"

namespace qmsd {

bool tracked_create();
void tracked_destroy();  // frees whatever is still held

// Allocates (null pointer), resizes, or releases (size 0). On failure the pointer keeps its value
// and the error is recorded. `file` may be null.
bool tracked_realloc(void** pointer, std::int32_t size, const char* file, std::int32_t line);

// Releases a block that is known to be sound; null is allowed.
void tracked_release(void* block);

// One line: blocks, damaged records and sizes, each with its change since the last report.
qmString tracked_statistics();

}  // namespace qmsd
