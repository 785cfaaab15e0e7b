#include "memory/block_list.h"

#include <algorithm>
#include <utility>

namespace qmsd {

BlockList::~BlockList() {
  for (BlockRecord* record : records_) BlockOwner{record};
}

BlockList::Found BlockList::find(const void* data, std::size_t& index) const {
  if (data == nullptr || records_.empty()) return Found::empty;
  for (std::size_t i = 0; i < records_.size(); ++i) {
    const BlockRecord* record = records_[i];
    if (record == nullptr) continue;
    if (!record->header_sound()) return Found::damage;
    if (record->data == data) {
      index = i;
      return Found::block;
    }
  }
  return Found::nothing;
}

bool BlockList::claim_place(std::size_t& index) {
  while (at(first_free_) != nullptr) ++first_free_;
  if (first_free_ == count_) ++count_;
  while (records_.size() < count_) {
    if (!records_.append(nullptr)) return false;
  }
  index = first_free_;
  return true;
}

BlockOwner BlockList::remove(std::size_t index) {
  first_free_ = std::min(first_free_, index);
  return BlockOwner{std::exchange(records_[index], nullptr)};
}

}  // namespace qmsd
