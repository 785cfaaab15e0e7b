// The function codes of slots, and the lock over them.
#include "modules/slots.h"

#include <atomic>
#include <cstdint>

#include "kernel/base/rw_lock.h"
#include "kernel/base/waiting.h"
#include "kernel/errors/error_state.h"
#include "modules/slot_table.h"
#include "platform/heap.h"

namespace qmsd {
namespace {

struct Slots {
  RwLock lock{LockRank::slots};
  SlotTable table;
};

std::atomic<Slots*> g_slots{nullptr};

Slots* slots() { return g_slots.load(std::memory_order_acquire); }

bool fail_slot(std::int32_t code) { return fail(code, QM_W("(slot)")); }

}  // namespace

bool slots_create() {
  g_slots.store(platform::heap_new<Slots>().release(), std::memory_order_release);
  return slots() != nullptr;
}

void slots_destroy() {
  platform::HeapOwner<Slots> gone(g_slots.exchange(nullptr));
  // A thread killed at process exit may have left the table half changed.
  if (waiting_given_up()) static_cast<void>(gone.release());
}

bool slot_create(qm_slot& record) {
  Slots* all = slots();
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
  Slots* all = slots();
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
  Slots* all = slots();
  if (all == nullptr) return fail(QM_ERROR_DAMAGED, QM_W("(init)"));
  WriteGuard guard(all->lock);
  Slot* slot = all->table.find(record.id);
  if (slot != nullptr) all->table.release(*slot);
  guard.unlock();
  return slot != nullptr || fail_slot(QM_ERROR_NOT_FOUND);
}

}  // namespace qmsd
