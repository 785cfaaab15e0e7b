// The converter matrix: one element of a scalar type read as another type.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

struct ConversionSource {
  const void* element;
  std::int32_t width;  // bytes
};

struct ConversionTarget {
  void* buffer;
  std::int32_t capacity;  // bytes of the buffer
  std::int32_t width;     // bytes wanted; the smaller of both counts
};

// Bytes written, for text characters with the terminator; 0 when there was nothing to write or
// read; kConversionFailed with an error recorded.
using ElementConverter = std::int32_t (*)(const ConversionTarget& target,
                                          const ConversionSource& source);

// Null when there is no such converter. `from` is a scalar type; `to` a scalar type or a text type,
// the flavours included.
ElementConverter element_converter(std::int32_t from, std::int32_t to);

}  // namespace qmsd
