// The function codes of slots, and the lock over them.
#include "modules/slots.h"

#include "kernel/base/process_wide.h"
#include "kernel/base/rw_lock.h"
#include "kernel/errors/error_state.h"

namespace qmsd {
namespace {

struct Slots {
  explicit Slots(std::int32_t last_id) noexcept : table(SlotTable::kFirstId, last_id) {}

  RwLock lock{LockRank::slots};
  SlotTable table;
};

ProcessWide<Slots> g_slots;

bool fail_slot(std::int32_t code) { return fail(code, QM_W("(slot)")); }

}  // namespace

bool slots_create(std::int32_t last_id) { return g_slots.create(last_id); }
void slots_destroy() { g_slots.destroy(); }

bool slot_create(qm_slot& record) {
  Slots* all = g_slots.get();
  if (all == nullptr) return fail(QM_ERROR_DAMAGED, QM_W("(init slot)"));
  qm_slot created{};
  SlotTable::Created result;
  {
    // Id and address are copied under the lock: another thread may guess the id and release it.
    const WriteGuard guard(all->lock);
    Slot* slot = nullptr;
    result = all->table.create(slot);
    if (slot != nullptr) created = {slot->id, slot->data};
  }
  switch (result) {
    case SlotTable::Created::no_id:
      return fail_slot(QM_ERROR_RANGE);
    case SlotTable::Created::no_memory:
      return fail_slot(QM_ERROR_NO_MEMORY);
    default:
      record = created;
      return true;
  }
}

bool slot_join(qm_slot& record) {
  Slots* all = g_slots.get();
  if (all == nullptr) return fail(QM_ERROR_DAMAGED, QM_W("(init)"));
  ReadGuard guard(all->lock);
  Slot* slot = all->table.find(record.id);
  const bool joined = slot != nullptr && SlotTable::join(*slot);
  void* data = joined ? slot->data : nullptr;
  guard.unlock();
  if (!joined) return fail_slot(slot == nullptr ? QM_ERROR_NOT_FOUND : QM_ERROR_RANGE);
  record.data = data;
  return true;
}

bool slot_release(const qm_slot& record) {
  Slots* all = g_slots.get();
  if (all == nullptr) return fail(QM_ERROR_DAMAGED, QM_W("(init)"));
  WriteGuard guard(all->lock);
  Slot* slot = all->table.find(record.id);
  if (slot != nullptr) all->table.release(*slot);
  guard.unlock();
  return slot != nullptr || fail_slot(QM_ERROR_NOT_FOUND);
}

}  // namespace qmsd
