// The map from sources to copies.
#include "variant/copy_map.h"

#include <tuple>
#include <utility>

namespace qmsd {
namespace {

constexpr std::size_t kFirstRoom = 32;

std::size_t doubled(std::size_t room) { return room == 0 ? kFirstRoom : room * 2; }

// Fibonacci hashing; variants lie at least 16 bytes apart.
std::size_t hash_of(const qm_variant* source) {
  const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(source) >> 4);
  return static_cast<std::size_t>((address * 0x9E3779B97F4A7C15U) >> 32);
}

}  // namespace

qm_variant* CopyMap::find(const qm_variant* source) const {
  if (buckets_ == 0) return nullptr;
  const std::size_t mask = buckets_ - 1;
  for (std::size_t at = hash_of(source) & mask; index_[at] != 0; at = (at + 1) & mask) {
    const Pair& pair = pairs_[index_[at] - 1];
    if (pair.source == source) return pair.copy;
  }
  return nullptr;
}

bool CopyMap::add(qm_variant* source, qm_variant* copy) {
  if (size_ == room_ && !grow_pairs()) return false;
  pairs_[size_++] = {source, copy};
  return true;
}

bool CopyMap::add_findable(qm_variant* source, qm_variant* copy) {
  if (findable_ * 2 >= buckets_ && !grow_index()) return false;
  if (!add(source, copy)) return false;
  enter(static_cast<std::uint32_t>(size_));
  ++findable_;
  return true;
}

void CopyMap::enter(std::uint32_t entry) noexcept {
  const std::size_t mask = buckets_ - 1;
  std::size_t at = hash_of(pairs_[entry - 1].source) & mask;
  while (index_[at] != 0) at = (at + 1) & mask;
  index_[at] = entry;
}

bool CopyMap::grow_pairs() {
  const std::size_t wanted = doubled(room_);
  void* grown = platform::heap_reallocate(pairs_.get(), wanted * sizeof(Pair));
  if (grown == nullptr) return false;
  std::ignore = pairs_.release();  // the block has moved
  pairs_.reset(static_cast<Pair*>(grown));
  room_ = wanted;
  return true;
}

bool CopyMap::grow_index() {
  const std::size_t wanted = doubled(buckets_);
  Index grown = platform::heap_array_zeroed<std::uint32_t>(wanted);
  if (!grown) return false;
  const Index old = std::exchange(index_, std::move(grown));
  const std::size_t old_buckets = std::exchange(buckets_, wanted);
  for (std::size_t at = 0; at < old_buckets; ++at) {
    if (old[at] != 0) enter(old[at]);
  }
  return true;
}

}  // namespace qmsd
