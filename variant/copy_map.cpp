// The map from sources to copies.
#include "variant/copy_map.h"

namespace qmsd {
namespace {

constexpr std::size_t kFirstBuckets = 64;

}  // namespace

// Fibonacci hashing; variants lie at least 16 bytes apart.
std::size_t CopyMap::bucket_of(const qm_variant* source) const noexcept {
  const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(source) >> 4);
  return static_cast<std::size_t>((address * 0x9E3779B97F4A7C15u) >> 32) & (buckets_ - 1);
}

qm_variant* CopyMap::find(const qm_variant* source) const {
  if (buckets_ == 0) return nullptr;
  for (std::size_t at = bucket_of(source); index_[at] != 0; at = (at + 1) & (buckets_ - 1)) {
    const Pair& pair = pairs_[index_[at] - 1];
    if (pair.source == source) return pair.copy;
  }
  return nullptr;
}

void CopyMap::enter(std::uint32_t position) noexcept {
  std::size_t at = bucket_of(pairs_[position].source);
  while (index_[at] != 0) at = (at + 1) & (buckets_ - 1);
  index_[at] = position + 1;
}

// Doubles both parts; when the second cannot grow, the first has more room than it needs.
bool CopyMap::grow() {
  const std::size_t wanted = buckets_ == 0 ? kFirstBuckets : buckets_ * 2;
  void* pairs = platform::heap_reallocate(pairs_.get(), wanted / 2 * sizeof(Pair));
  if (pairs == nullptr) return false;
  (void)pairs_.release();  // moved
  pairs_.reset(static_cast<Pair*>(pairs));
  void* index = platform::heap_allocate_zeroed(wanted * sizeof(std::uint32_t));
  if (index == nullptr) return false;
  index_.reset(static_cast<std::uint32_t*>(index));
  buckets_ = wanted;
  for (std::size_t position = 0; position < size_; ++position) {
    enter(static_cast<std::uint32_t>(position));
  }
  return true;
}

bool CopyMap::add(qm_variant* source, qm_variant* copy) {
  if (size_ * 2 >= buckets_ && !grow()) return false;
  pairs_[size_] = {source, copy};
  enter(static_cast<std::uint32_t>(size_));
  ++size_;
  return true;
}

}  // namespace qmsd
