// A buffer between guards, for calls that are told how much of it there is.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tests/contract/support/kernel.h"

namespace contract {

class GuardedTarget {
 public:
  static constexpr std::size_t kRoom = 64;

  explicit GuardedTarget(unsigned char filled_with = kPoison) {
    bytes_.fill(kPoison);
    std::fill_n(bytes_.begin() + kGuard, kRoom, filled_with);
  }

  unsigned char* data() { return bytes_.data() + kGuard; }
  const char* text() const { return reinterpret_cast<const char*>(bytes_.data() + kGuard); }
  Text wide_text() const {
    Text text;
    for (std::size_t at = 0; at < kRoom / sizeof(qm_wchar); ++at) {
      const auto unit = read<qm_wchar>(at);
      if (unit == 0) return text;
      text += unit;
    }
    return text;
  }
  template <class Value>
  Value read(std::size_t index = 0) const {
    Value value;
    std::memcpy(&value, bytes_.data() + kGuard + index * sizeof value, sizeof value);
    return value;
  }

  // Nothing in front of the buffer, and nothing from that byte on, has been written.
  testing::AssertionResult untouched_from(std::size_t offset) const {
    const auto is_written = [](unsigned char byte) { return byte != kPoison; };
    const auto begin = bytes_.begin();
    if (std::any_of(begin, begin + kGuard, is_written)) {
      return testing::AssertionFailure() << "written in front of the buffer";
    }
    const auto found = std::find_if(begin + static_cast<std::ptrdiff_t>(kGuard + offset),
                                    bytes_.end(), is_written);
    if (found == bytes_.end()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "byte " << found - begin - kGuard << " was written";
  }

 private:
  static constexpr std::ptrdiff_t kGuard = 16;
  std::array<unsigned char, kRoom + 2 * kGuard> bytes_;
};

}  // namespace contract
