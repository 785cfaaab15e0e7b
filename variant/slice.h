// Conversion of elements that lie one behind the other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qmsd {

// A number of elements in memory, and where their conversions go.
struct Slice {
  std::int32_t type;  // of the source elements
  const std::byte* elements;
  std::int32_t element_width;
  std::int32_t target_type;
  std::byte* targets;
  std::int32_t capacity;      // bytes at `targets`
  std::int32_t target_width;  // bytes from one target to the next
  std::int32_t count;
};

// Whether `count` elements of that width fit a buffer of so many bytes.
constexpr bool fits(std::int32_t count, std::int32_t width, std::int32_t capacity) {
  return std::int64_t{count} * width <= capacity;
}

// The sum of what was written, or kConversionFailed with an error recorded. If `count` is above 1
// all targets must fit the capacity.
std::int32_t convert_slice(const Slice& slice);

}  // namespace qmsd
