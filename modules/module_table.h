// The records of all modules and the lock over them. Nothing here runs foreign code: records that
// have to go are handed out and destroyed by the caller, who holds no lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "kernel/base/growable_array.h"
#include "kernel/base/rw_lock.h"
#include "modules/module_record.h"
#include "platform/heap.h"

namespace qmsd {

using ModuleOwner = platform::HeapOwner<ModuleRecord>;

// A counted use of a ready module. It keeps the record alive, unless somebody gives back more uses
// than he took; for that case the id tells the record from a later one at the same address.
struct ModuleUse {
  ModuleRecord* record = nullptr;
  std::uint32_t id = 0;
};

// Destroying the table abandons the records that are still in it.
class ModuleTable {
 public:
  enum class Found { ready, loading, loading_here, absent };
  enum class Added { added, exists, no_memory };

  // Looks the name up; a ready module gets one more use. Null is never found.
  Found take(const qm_wchar* name, ModuleUse& use);
  // Gives uses back. If none is left the record leaves the table and is returned.
  [[nodiscard]] ModuleOwner give_back(const ModuleUse& use, std::int32_t uses);

  // Enters a record, not ready and with one use. When it is not added the caller keeps it.
  Added add(ModuleOwner& record);
  // Moves what opening found into the record, in one step under the lock. False, with nothing
  // changed, if another record has the resolved name already.
  bool publish(ModuleRecord& record, OpenedModule& opened);
  void mark_ready(ModuleRecord& record);
  // Takes out a record whose loading failed.
  [[nodiscard]] ModuleOwner remove(const ModuleRecord& record);
  // Counts the loads that have ended, by mark_ready() or by remove().
  std::uint32_t ended_loads() const { return ended_loads_.load(); }

  // The last record in the order of unloading; null when there is none, or the table may be torn.
  [[nodiscard]] ModuleOwner remove_last();

  // Library and call entry of a ready module.
  bool resolve(const qm_wchar* name, void*& library, qm_call_fn& entry);
  // What the statistics report.
  void measure(std::int32_t& count, std::int64_t& size);

  RwLock lock{LockRank::registry};  // taken by each operation

 private:
  // All expect the lock.
  ModuleRecord* find(const qm_wchar* name) const;
  std::size_t position(const ModuleRecord* record) const;
  bool insert(ModuleRecord& record);
  ModuleOwner remove_at(std::size_t at);

  // Descending by asked name, then by resolved name, records without one last.
  GrowableArray<ModuleRecord*, 16> records_;
  std::uint32_t next_id_ = 1;
  std::atomic<std::uint32_t> ended_loads_{0};
};

}  // namespace qmsd
