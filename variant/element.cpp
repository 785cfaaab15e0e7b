// Elements in memory.
#include "variant/element.h"

#include <bit>

namespace qmsd {

bool load_integer(const void* from, std::int32_t width, bool is_signed, std::int64_t& value) {
  switch (width) {
    case 1:
      value = is_signed ? load_as<std::int8_t>(from) : load_as<std::uint8_t>(from);
      return true;
    case 2:
      value = is_signed ? load_as<std::int16_t>(from) : load_as<std::uint16_t>(from);
      return true;
    case 4:
      value = is_signed ? std::int64_t{load_as<std::int32_t>(from)} : load_as<std::uint32_t>(from);
      return true;
    case 8:
      value = load_as<std::int64_t>(from);
      return true;
    default:
      return false;
  }
}

bool load_floating(const void* from, std::int32_t width, double& value) {
  if (width == 4) {
    value = load_as<float>(from);
  } else if (width == 8) {
    value = load_as<double>(from);
  } else {
    return false;
  }
  return true;
}

bool store_integer(void* to, std::int32_t width, std::int64_t value) {
  if (width != 1 && width != 2 && width != 4 && width != 8) return false;
  // Little-endian: the low bytes come first.
  std::memcpy(to, &value, static_cast<std::size_t>(width));
  return true;
}

bool store_floating(void* to, std::int32_t width, double value) {
  if (width == 4) {
    const auto narrow = static_cast<float>(value);
    std::memcpy(to, &narrow, sizeof narrow);
  } else if (width == 8) {
    std::memcpy(to, &value, sizeof value);
  } else {
    return false;
  }
  return true;
}

std::int64_t widen_element(std::int32_t scalar_type, const void* from, std::int32_t width) {
  if (scalar_type == QM_TYPE_FLOATING) {
    double value = 0;
    load_floating(from, width, value);
    return std::bit_cast<std::int64_t>(value);
  }
  std::int64_t value = 0;
  load_integer(from, width, scalar_type == QM_TYPE_SIGNED, value);
  return value;
}

}  // namespace qmsd
