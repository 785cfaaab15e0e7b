// Slots in the order of their ids, which go round.
#include "modules/slot_table.h"

#include <algorithm>
#include <limits>

#include "platform/heap.h"

namespace qmsd {
namespace {

using Owner = platform::HeapOwner<Slot>;

}  // namespace

SlotTable::~SlotTable() {
  for (Slot* slot : slots_) {
    if (slot != nullptr) Owner{slot};
  }
}

// The first free id at or above the counter, going round once, and its place in the order.
bool SlotTable::choose_id(std::int32_t& id, std::size_t& place) const {
  const std::int32_t start = std::max(next_id_, kFirstId);
  id = start;
  place = 0;
  while (place < slots_.size()) {
    const Slot* slot = slots_[place];
    if (slot != nullptr && slot->id > id) break;
    ++place;
    if (slot == nullptr || slot->id != id) continue;
    id = id_after(id);
    if (id == start) return false;
    if (id == kFirstId) place = 0;
  }
  return true;
}

SlotTable::Created SlotTable::create(Slot*& slot) {
  std::int32_t id;
  std::size_t place;
  if (!choose_id(id, place)) return Created::no_id;
  if (!slots_.insert(place, nullptr)) return Created::no_memory;
  Owner fresh = platform::heap_new<Slot>(id);
  if (!fresh) return Created::no_memory;
  slot = slots_[place] = fresh.release();
  next_id_ = id_after(id);
  return Created::yes;
}

Slot* SlotTable::find(std::int32_t id) const {
  const auto found = std::find_if(slots_.begin(), slots_.end(), [id](const Slot* slot) {
    return slot != nullptr && slot->id >= id;
  });
  return found != slots_.end() && (*found)->id == id ? *found : nullptr;
}

bool SlotTable::join(Slot& slot) noexcept {
  constexpr std::int32_t kMaxUsers = std::numeric_limits<std::int32_t>::max();
  return slot.users.fetch_add(1, std::memory_order_relaxed) != kMaxUsers - 1;
}

void SlotTable::release(Slot& slot) {
  if (slot.users.fetch_sub(1, std::memory_order_relaxed) > 1) return;
  const auto at = std::find(slots_.begin(), slots_.end(), &slot);
  slots_.erase(static_cast<std::size_t>(at - slots_.begin()));
  slot.id = 0;
  const Owner dead{&slot};
  // Empty places alone do not keep the array.
  const bool is_empty =
      std::all_of(slots_.begin(), slots_.end(), [](const Slot* other) { return other == nullptr; });
  if (is_empty) slots_.clear();
}

}  // namespace qmsd
