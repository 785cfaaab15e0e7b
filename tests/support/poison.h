// Memory filled with a pattern that shows what was written and what was left alone.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace qmsd::test {

// A byte that no call would write by chance.
inline constexpr unsigned char kPoison = 0xC3;

// Every byte of the value is the pattern.
template <class T>
T poisoned() {
  static_assert(std::is_trivially_copyable_v<T>);
  T value;
  std::memset(static_cast<void*>(&value), kPoison, sizeof value);
  return value;
}

template <class T>
bool is_poison(const T& value) {
  const T pattern = poisoned<T>();
  return std::memcmp(&value, &pattern, sizeof value) == 0;
}

// A text buffer that starts out poisoned.
template <class Character, std::size_t Length>
struct PoisonedText {
  std::array<Character, Length> text = poisoned<std::array<Character, Length>>();

  Character* data() { return text.data(); }
  const Character* c_str() const { return text.data(); }
  Character operator[](std::size_t at) const { return text[at]; }

  // Nothing at or behind that position has been written.
  bool untouched_from(std::size_t at) const {
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(),
                       [](Character unit) { return is_poison(unit); });
  }
};

}  // namespace qmsd::test
