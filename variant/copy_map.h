// Which variant has been copied to which: the pairs in the order they were made, and an index over
// the sources that may be met again.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"
#include "platform/heap.h"

namespace qmsd {

class CopyMap {
 public:
  struct Pair {
    qm_variant* source;
    qm_variant* copy;
  };

  // Null for a source that was not added by add_findable().
  qm_variant* find(const qm_variant* source) const;
  // False when memory is exhausted. The source has no copy yet.
  bool add(qm_variant* source, qm_variant* copy);
  bool add_findable(qm_variant* source, qm_variant* copy);

  std::size_t size() const noexcept { return size_; }
  const Pair& operator[](std::size_t at) const noexcept { return pairs_[at]; }

 private:
  using Index = platform::HeapArray<std::uint32_t>;

  bool grow_pairs();
  bool grow_index();
  void enter(std::uint32_t entry) noexcept;

  platform::HeapArray<Pair> pairs_;
  std::size_t size_ = 0;
  std::size_t room_ = 0;
  // Open addressing: 1 + position in pairs_, 0 for free. A power of two, at most half full.
  Index index_;
  std::size_t buckets_ = 0;
  std::size_t findable_ = 0;
};

}  // namespace qmsd
