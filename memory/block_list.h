// The list of all tracked blocks. A block's index is its place for life; free places are null and
// taken again, lowest first. The caller holds the lock.
#pragma once

#include <cstddef>

#include "kernel/base/growable_array.h"
#include "memory/block_record.h"

namespace qmsd {

class BlockList {
 public:
  BlockList() noexcept = default;
  ~BlockList();
  BlockList(const BlockList&) = delete;
  BlockList& operator=(const BlockList&) = delete;

  // Scans from the lowest index. A record with a damaged header ends the scan: it hides the blocks
  // behind it, because a list that is damaged somewhere cannot be trusted.
  enum class Found { block, damage, nothing, empty };
  Found find(const void* data, std::size_t& index) const;

  // Finds the lowest free place. When there is none the count is raised first, and stays raised
  // even if there is no memory for the new place, which then reads as free.
  bool claim_place(std::size_t& index);

  // Free places included.
  std::size_t count() const { return count_; }
  BlockRecord* at(std::size_t index) const {
    return index < records_.size() ? records_[index] : nullptr;
  }
  void put(std::size_t index, BlockOwner record) { records_[index] = record.release(); }
  BlockOwner remove(std::size_t index);

  // Where the places lie; null before the first.
  const void* address() const { return records_.begin(); }

 private:
  // Grows by one place at a time. Places beyond its size, up to the count, are null.
  GrowableArray<BlockRecord*, 1> records_;
  std::size_t count_ = 0;
  std::size_t first_free_ = 0;  // no free place below it
};

}  // namespace qmsd
