// Which variant has been copied to which: the pairs in the order they were made, and an index over
// the sources.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "include/qmsd7.h"
#include "platform/heap.h"

namespace qmsd {

class CopyMap {
 public:
  struct Pair {
    qm_variant* source;
    qm_variant* copy;
  };

  // Null for a source that has no copy yet.
  qm_variant* find(const qm_variant* source) const;
  // False when memory is exhausted. The source has no copy yet.
  bool add(qm_variant* source, qm_variant* copy);

  std::size_t size() const noexcept { return size_; }
  const Pair& operator[](std::size_t at) const noexcept { return pairs_[at]; }

 private:
  bool grow();
  void enter(std::uint32_t position) noexcept;
  std::size_t bucket_of(const qm_variant* source) const noexcept;

  std::unique_ptr<Pair[], platform::HeapFree> pairs_;  // room for half as many as there are buckets
  std::size_t size_ = 0;
  // Open addressing: 1 + position in pairs_, 0 for free. A power of two, at most half full.
  std::unique_ptr<std::uint32_t[], platform::HeapFree> index_;
  std::size_t buckets_ = 0;
};

}  // namespace qmsd
