// The handle table: routes calls through handles and closes what is left at the end.
#include "kernel/entry/handle_table.h"

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>

#include "kernel/base/process_wide.h"
#include "kernel/base/rw_lock.h"
#include "kernel/base/waiting.h"
#include "kernel/entry/handle_list.h"
#include "kernel/entry/handle_record.h"
#include "kernel/errors/error_state.h"
#include "modules/registry.h"
#include "platform/heap.h"
#include "services/tables/group_table.h"
#include "services/text/statistics.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

struct HandleTable {
  RwLock lock{LockRank::handle_table};
  HandleList list;
};

// How many handles shutdown closes beyond those that were open when it began.
constexpr std::size_t kLateCloses = 1000;

ProcessWide<HandleTable> g_handles;

constexpr bool is_group_handle(std::uint32_t handle) { return handle > kLastHandle; }

bool fail_unknown(std::uint32_t handle) {
  return fail(QM_ERROR_NOT_FOUND, QM_W("(handle=%08x)"), handle);
}

// Finds the handle and adds the reference that keeps it alive while its owner works. `live` is the
// number of handles at that moment.
bool borrow(std::uint32_t handle, HandleOwner& owner, std::int32_t& live) {
  live = 0;
  HandleTable* handles = g_handles.get();
  if (handles == nullptr) return false;
  const ReadGuard guard(handles->lock);
  live = static_cast<std::int32_t>(handles->list.size());
  HandleRecord* record = handles->list.find(handle);
  if (record == nullptr) return false;
  record->references.fetch_add(1, std::memory_order_relaxed);
  describe_owner(*record, owner);
  return true;
}

// The reference on a handle that borrow() added, given back even if an exception ends the call.
class BorrowedHandle {
 public:
  explicit BorrowedHandle(std::uint32_t handle) : handle_(handle) {}
  ~BorrowedHandle() {
    if (is_held_) give_back();
  }
  BorrowedHandle(const BorrowedHandle&) = delete;
  BorrowedHandle& operator=(const BorrowedHandle&) = delete;

  // False, with an error, when others gave back more than they held.
  bool give_back() {
    is_held_ = false;
    return handle_drop(handle_) != HandleDrop::unknown;
  }

 private:
  std::uint32_t handle_;
  bool is_held_ = true;
};

// Lowers the references of a handle; without others its record is out of the table and `last`.
// False for an unknown handle.
bool lower_references(HandleTable& handles, std::uint32_t handle, HandleList::Owner& last) {
  {
    const ReadGuard guard(handles.lock);
    HandleRecord* record = handles.list.find(handle);
    if (record == nullptr) return false;
    if (lower_if_uses_remain(record->references)) return true;
  }
  const WriteGuard guard(handles.lock);
  HandleRecord* record = handles.list.find(handle);
  if (record == nullptr) return false;
  if (record->references.fetch_sub(1) <= 1) last = handles.list.remove(handle);
  return true;
}

HandleList::Owner take_oldest(HandleTable& handles) {
  const WriteGuard guard(handles.lock);
  return handles.list.remove_oldest();
}

bool call_group(std::uint32_t handle, std::uint32_t code, void* record) {
  qm_wchar name[kGroupNameLength];
  if (!groups_lookup(static_cast<std::uint16_t>(handle), name)) {
    return refuse(QM_W("modname?(h=%08x)"), handle);
  }
  return registry_call(name, 0, code, record, UseMode::group) != 0;
}

}  // namespace

bool handles_create() { return g_handles.create(); }

void handles_destroy() {
  HandleTable* const handles = g_handles.get();
  if (handles == nullptr) return;
  // Modules may open handles while theirs are closed, but not keep the shutdown going for ever.
  std::size_t closes_left = kLateCloses;
  {
    const ReadGuard guard(handles->lock);
    closes_left += handles->list.size();
  }
  while (HandleList::Owner oldest = take_oldest(*handles)) {
    if (closes_left != 0) {
      --closes_left;
      close_owner(*oldest);
    }
    // A thread killed at process exit may have left a record in the list twice.
    if (waiting_given_up()) std::ignore = oldest.release();
  }
  g_handles.destroy();
}

std::uint32_t handle_issue() {
  HandleTable* handles = g_handles.get();
  if (handles == nullptr) return 0;
  const WriteGuard guard(handles->lock);
  const HandleRecord* record = handles->list.add();
  return record == nullptr ? 0 : record->handle;
}

bool handle_bind(std::uint32_t handle, const qm_wchar* owner_name, std::uint32_t owner_handle) {
  OwnedText name = copy_text(owner_name);
  if (!name) return fail(QM_ERROR_NO_MEMORY);
  if (HandleTable* handles = g_handles.get()) {
    const WriteGuard guard(handles->lock);
    HandleRecord* record = handles->list.find(handle);
    if (record != nullptr && record->kind == OwnerKind::unbound) {
      record->kind = OwnerKind::module_instance;
      record->owner_name = std::move(name);
      record->owner_handle = owner_handle;
      return true;
    }
  }
  return fail(QM_ERROR_ARGUMENT);
}

HandleDrop handle_drop(std::uint32_t handle) {
  HandleTable* const handles = g_handles.get();
  HandleList::Owner last;
  if (handles == nullptr || !lower_references(*handles, handle, last)) {
    fail_unknown(handle);
    return HandleDrop::unknown;
  }
  if (!last) return HandleDrop::others_remain;
  close_owner(*last);
  return HandleDrop::last;
}

bool handle_call(std::uint32_t handle, std::uint32_t code, void* record) {
  if (is_group_handle(handle)) return call_group(handle, code, record);
  HandleOwner owner;
  std::int32_t live;
  if (!borrow(handle, owner, live)) {
    return refuse(QM_W("(Closed handle: %08x, cmd=%08x, nhs: %i)"), handle, code, live);
  }
  BorrowedHandle borrowed(handle);
  bool done = false;
  if (owner.kind == OwnerKind::module_instance) {
    done = registry_call(owner.name, owner.handle, code, record, UseMode::instance) != 0;
  } else {
    refuse(QM_W("(handle->type?=%08x)"), owner.kind);
  }
  return borrowed.give_back() && done;
}

bool handle_resolve(qm_resolve_handle* record) {
  if (g_handles.get() == nullptr) return refuse(QM_W("Not opened modules"));
  if (record == nullptr) return refuse(QM_W("(!ptr)"));
  HandleOwner owner;
  std::int32_t live;
  if (!borrow(record->handle, owner, live)) return fail_unknown(record->handle);
  record->owner_handle = owner.handle;
  record->library = nullptr;
  record->entry = nullptr;
  if (owner.kind == OwnerKind::module_instance &&
      registry_resolve(owner.name, record->library, record->entry)) {
    return true;
  }
  // The caller cannot know of the reference, so it is not left to him.
  handle_drop(record->handle);
  return fail(QM_ERROR_ARGUMENT);
}

bool handle_reference(const qm_handle_ref& record) {
  HandleOwner owner;
  std::int32_t live;
  return borrow(record.handle, owner, live) || fail_unknown(record.handle);
}

bool handle_release(qm_handle_ref* record) {
  // Modules that are closed late in the shutdown may still give their handles back.
  if (g_handles.get() == nullptr) return true;
  if (record == nullptr) return refuse(QM_W("(!ptr)"));
  const HandleDrop dropped = handle_drop(record->handle);
  if (dropped == HandleDrop::last) record->handle = 0;
  return dropped != HandleDrop::unknown;
}

qmString handle_statistics() {
  // What the table and each record take on 32-bit Windows, so that reports compare between systems.
  constexpr std::int64_t kTableSize = 56;
  constexpr std::int64_t kRecordSize = 32;
  static constinit LastReported last_count;
  static constinit LastReported last_size;

  std::int32_t count = 0;
  std::int64_t size = kTableSize;
  if (HandleTable* handles = g_handles.get()) {
    const ReadGuard guard(handles->lock);
    for (const HandleRecord* record : handles->list) {
      ++count;
      size += kRecordSize;
      if (!record->owner_name) continue;
      size += 2 * (static_cast<std::int64_t>(view_of(record->owner_name.get()).size()) + 1);
    }
  }
  return statistics_line("[QMHANDLES] nhandles: %i (%lli), allsize: %lli (%lli) bytes\n", count,
                         last_count.change_to(count), size, last_size.change_to(size));
}

}  // namespace qmsd
