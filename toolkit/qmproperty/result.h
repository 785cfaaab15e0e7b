// What an operation on the property tree comes to: success, or an error for the caller's thread.
#pragma once

#include <cstdint>
#include <string>

namespace qmproperty {

struct [[nodiscard]] Result {
  std::int32_t code = 0;  // 0 is success
  std::string message{};  // UTF-8
  explicit operator bool() const noexcept { return code == 0; }
};

}  // namespace qmproperty
