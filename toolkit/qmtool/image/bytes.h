// The bytes of a file that nobody vouches for: every read is checked against their end.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "toolkit/qmtool/image/image.h"

namespace qmtool {

// What makes a library file unreadable, in words that follow "the file ".
struct Damage : std::runtime_error {
  explicit Damage(const char* what, ImageFault kind = ImageFault::damaged)
      : std::runtime_error(what), fault(kind) {}

  ImageFault fault;
};

inline Damage truncation() {
  return Damage("ends before the parts that its headers announce", ImageFault::truncated);
}

class Bytes {
 public:
  explicit Bytes(std::string_view content) noexcept : content_(content) {}

  std::uint64_t size() const noexcept { return content_.size(); }

  // True when the range lies within the file; neither number is trusted.
  bool contains(std::uint64_t offset, std::uint64_t length) const noexcept {
    return offset <= size() && length <= size() - offset;
  }

  // A little-endian number.
  template <std::unsigned_integral Number>
  Number read(std::uint64_t offset) const {
    const std::string_view bytes = part(offset, sizeof(Number));
    std::uint64_t number = 0;
    for (std::size_t at = sizeof(Number); at > 0; --at) {
      number = number << 8 | static_cast<unsigned char>(bytes[at - 1]);
    }
    return static_cast<Number>(number);
  }

  std::string_view part(std::uint64_t offset, std::uint64_t length) const {
    if (!contains(offset, length)) throw truncation();
    return content_.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
  }

  // A text up to its zero byte.
  std::string_view text(std::uint64_t offset) const {
    if (offset > size()) throw truncation();
    const std::string_view rest = content_.substr(static_cast<std::size_t>(offset), kLongestText);
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos) throw Damage("holds a name without an end");
    return rest.substr(0, end);
  }

 private:
  static constexpr std::size_t kLongestText = 16384;

  std::string_view content_;
};

}  // namespace qmtool
