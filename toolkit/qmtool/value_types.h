// The kernel's types as they are named on the command line.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include <qm/variant.hpp>

namespace qmtool {

struct ValueType {
  const char* name;
  std::int32_t type;
  std::int32_t size;  // of a value, in bytes; 0 when it depends on the value
};

std::span<const ValueType> value_types();
// "signed, 4 bytes"
std::string describe_type(std::int32_t type, std::int32_t size);
// The value of a variant as the kernel writes it; hexadecimal for bytes.
std::string text_of(const qm::Variant& variant);

}  // namespace qmtool
