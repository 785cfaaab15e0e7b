#include "platform/environment.h"

#include <cstdlib>
#include <cstring>

#include "platform/linux/utf8.h"

namespace qmsd::platform {
namespace {

bool copy_value(const char* value, qm_wchar* buffer, std::size_t length) {
  return widen_utf8(value, buffer, length);
}

bool copy_value(const char* value, char* buffer, std::size_t size) {
  const std::size_t length = std::strlen(value);
  if (length >= size) return false;
  std::memcpy(buffer, value, length + 1);
  return true;
}

template <class Char>
Variable read(const char* name, Char* buffer, std::size_t length) {
  buffer[0] = 0;
  const char* value = std::getenv(name);
  if (value == nullptr) return Variable::missing;
  if (copy_value(value, buffer, length)) return Variable::present;
  buffer[0] = 0;
  return Variable::too_long;
}

}  // namespace

Variable read_variable(const char* name, qm_wchar* buffer, std::size_t length) {
  return read(name, buffer, length);
}

Variable read_variable(const char* name, char* buffer, std::size_t size) {
  return read(name, buffer, size);
}

}  // namespace qmsd::platform
