// The live handles and how new ones are numbered.
#include "kernel/entry/handle_list.h"

#include <algorithm>

namespace qmsd {
namespace {

bool is_older(const HandleRecord* a, const HandleRecord* b) { return a->sequence < b->sequence; }

}  // namespace

HandleList::~HandleList() {
  for (HandleRecord* record : records_) Owner{record};
}

std::size_t HandleList::position(std::uint32_t handle) const {
  return records_.lower_bound([handle](const HandleRecord* r) { return r->handle < handle; });
}

HandleRecord* HandleList::find(std::uint32_t handle) {
  const std::size_t at = position(handle);
  return at < size() && records_[at]->handle == handle ? records_[at] : nullptr;
}

HandleRecord* HandleList::add() {
  if (!records_.reserve_one()) return nullptr;
  const std::uint32_t value = next_value();
  if (!next_sequence()) return nullptr;
  Owner record = platform::heap_new<HandleRecord>(value, created_);
  if (!record || !records_.insert(position(value), record.get())) return nullptr;
  return record.release();
}

HandleList::Owner HandleList::remove(std::uint32_t handle) {
  return find(handle) == nullptr ? nullptr : remove_at(position(handle));
}

HandleList::Owner HandleList::remove_oldest() {
  const auto oldest = std::min_element(records_.begin(), records_.end(), is_older);
  if (oldest == records_.end()) return nullptr;
  return remove_at(static_cast<std::size_t>(oldest - records_.begin()));
}

HandleList::Owner HandleList::remove_at(std::size_t at) {
  Owner record(records_[at]);
  records_.erase(at);
  return record;
}

std::uint32_t HandleList::next_value() {
  do {
    const bool in_range = last_issued_ >= kFirstHandle && last_issued_ < kLastHandle;
    last_issued_ = in_range ? last_issued_ + 1 : kFirstHandle;
  } while (find(last_issued_) != nullptr);
  return last_issued_;
}

// When the counter wraps, the live records are numbered anew in their old order.
bool HandleList::next_sequence() {
  if (++created_ != 0) return true;
  --created_;
  GrowableArray<HandleRecord*, 32> by_age;
  for (HandleRecord* record : records_) {
    if (!by_age.append(record)) return false;
  }
  std::sort(by_age.begin(), by_age.end(), is_older);
  created_ = 0;
  for (HandleRecord* record : by_age) record->sequence = created_++;
  return true;
}

}  // namespace qmsd
