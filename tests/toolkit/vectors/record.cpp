#include "tests/toolkit/vectors/record.h"

#include <cstring>
#include <stdexcept>

namespace vectors {

void Record::set(const Field& field, std::uint64_t value) {
  std::memcpy(reinterpret_cast<unsigned char*>(bytes_.data()) + field.offset, &value, field.size);
}

std::uint64_t Record::get(const Field& field) const {
  std::uint64_t value = 0;
  std::memcpy(&value, reinterpret_cast<const unsigned char*>(bytes_.data()) + field.offset,
              field.size);
  return value;
}

const void* Record::pointer(const Field& field) const {
  return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(get(field)));
}

const Field& Record::field(const std::string& name) const {
  for (const Field& field : fields()) {
    if (field.name == name) return field;
  }
  throw std::runtime_error("there is no field " + name);
}

std::uint64_t Record::cut(const Field& field, std::uint64_t value) {
  return field.size == sizeof value ? value : value & 0xFFFFFFFF;
}

}  // namespace vectors
