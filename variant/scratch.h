// Room for text that is needed for a moment only: on the stack, unless there is much of it.
#pragma once

#include <cstddef>
#include <iterator>

#include "platform/heap.h"

namespace qmsd {

template <class Unit>
class Scratch {
 public:
  explicit Scratch(std::size_t length) : length_(length) {
    if (!is_near()) far_ = platform::heap_array<Unit>(length);
  }

  // Null when memory is exhausted. Nothing is written to it yet.
  Unit* text() noexcept { return is_near() ? near_ : far_.get(); }
  std::size_t length() const noexcept { return length_; }

 private:
  bool is_near() const noexcept { return length_ <= std::size(near_); }

  const std::size_t length_;
  Unit near_[128];
  platform::HeapArray<Unit> far_;
};

}  // namespace qmsd
