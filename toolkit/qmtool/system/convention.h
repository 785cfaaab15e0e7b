// Calls of entries that may have been compiled for another calling convention.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qmsd7.h>

namespace qmtool {

struct MeasuredCall {
  std::int32_t result;
  std::ptrdiff_t drift;  // by how many bytes the entry left the stack pointer off
};

MeasuredCall call_measured(qm_call_fn entry, std::uint32_t handle, std::uint32_t code,
                           void* record);

// False where every entry is of one convention.
extern const bool kKnowsConventions;

}  // namespace qmtool
