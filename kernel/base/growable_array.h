// A growable array of plain values in kernel heap memory; the basis of every sorted table.
// Running out of memory is a result, never an exception, and leaves the array as it was.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "platform/heap.h"

namespace qmsd {

// Capacity is always a multiple of Step.
template <class T, std::size_t Step>
class GrowableArray {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");

 public:
  GrowableArray() noexcept = default;
  ~GrowableArray() { clear(); }
  GrowableArray(const GrowableArray&) = delete;
  GrowableArray& operator=(const GrowableArray&) = delete;

  std::size_t size() const noexcept { return size_; }
  std::size_t capacity() const noexcept { return capacity_; }
  bool empty() const noexcept { return size_ == 0; }
  T* begin() noexcept { return items_; }
  T* end() noexcept { return items_ + size_; }
  const T* begin() const noexcept { return items_; }
  const T* end() const noexcept { return items_ + size_; }
  T& operator[](std::size_t at) noexcept { return items_[at]; }
  const T& operator[](std::size_t at) const noexcept { return items_[at]; }
  T& back() noexcept { return items_[size_ - 1]; }

  // Makes room for one more element, so that the next insert cannot fail. New room is zeroed.
  [[nodiscard]] bool reserve_one() {
    if (size_ < capacity_) return true;
    const std::size_t wanted = (size_ + Step) / Step * Step;
    void* grown = platform::heap_reallocate(items_, wanted * sizeof(T));
    if (grown == nullptr) return false;
    items_ = static_cast<T*>(grown);
    std::memset(static_cast<void*>(items_ + capacity_), 0, (wanted - capacity_) * sizeof(T));
    capacity_ = wanted;
    return true;
  }

  // Inserts before position `at` (at most size()).
  [[nodiscard]] bool insert(std::size_t at, T value) {
    if (!reserve_one()) return false;
    std::copy_backward(items_ + at, items_ + size_, items_ + size_ + 1);
    items_[at] = value;
    ++size_;
    return true;
  }
  [[nodiscard]] bool append(T value) { return insert(size_, value); }

  // Later elements move down; the memory stays.
  void erase(std::size_t at) noexcept {
    std::copy(items_ + at + 1, items_ + size_, items_ + at);
    --size_;
  }

  // Hands the elements' memory, a heap block or null, to the caller.
  [[nodiscard]] T* release() noexcept {
    size_ = capacity_ = 0;
    return std::exchange(items_, nullptr);
  }

  // Forgets the elements and frees the memory.
  void clear() noexcept {
    platform::heap_free(items_);
    items_ = nullptr;
    size_ = capacity_ = 0;
  }

  // First position whose element is not `before` the wanted place; the array must be ordered so.
  template <class Before>
  std::size_t lower_bound(Before before) const {
    return static_cast<std::size_t>(std::partition_point(begin(), end(), before) - begin());
  }

 private:
  T* items_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace qmsd
