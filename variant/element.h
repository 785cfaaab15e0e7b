// One element of a scalar type in memory: reading it widened, and storing it at a width.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "include/qmsd7.h"

namespace qmsd {

template <class T>
T load_as(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

// Sign- or zero-extended to 64 bits. False for a width that integers do not have.
bool load_integer(const void* from, std::int32_t width, bool is_signed, std::int64_t& value);
bool load_floating(const void* from, std::int32_t width, double& value);

// Stores the low bytes. False for a width that integers do not have.
bool store_integer(void* to, std::int32_t width, std::int64_t value);
bool store_floating(void* to, std::int32_t width, double value);

// A scalar's value as a variant keeps it: integers extended, floating values as doubles, date-times
// as they are. The type and the width fit each other.
std::int64_t widen_element(std::int32_t scalar_type, const void* from, std::int32_t width);

}  // namespace qmsd
