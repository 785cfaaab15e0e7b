// Order, look-up and use counts of the module records.
#include "modules/module_table.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "platform/clock.h"

namespace qmsd {
namespace {

// The order of the records. Shutdown unloads them from the end.
bool stands_before(const ModuleRecord& a, const ModuleRecord& b) {
  const int order = WideView(a.name.get()).compare(b.name.get());
  if (order != 0) return order > 0;
  return view_of(a.module.resolved.get()) > view_of(b.module.resolved.get());
}

qm_call_fn entry_of(const OpenedModule& module) {
  if (module.info != nullptr && module.info->call != nullptr) return module.info->call;
  return module.extended == nullptr ? nullptr : module.extended->call;
}

std::int64_t size_of(const OwnedText& text) {
  return text ? 2 * static_cast<std::int64_t>(view_of(text.get()).size()) + 2 : 0;
}

}  // namespace

ModuleTable::Found ModuleTable::take(const qm_wchar* name, ModuleUse& use) {
  const ReadGuard guard(lock);
  ModuleRecord* record = find(name);
  if (record == nullptr) return Found::absent;
  if (!record->ready) {
    return record->loader == platform::current_thread_id() ? Found::loading_here : Found::loading;
  }
  record->users.fetch_add(1);
  use = {record, record->id};
  return Found::ready;
}

ModuleOwner ModuleTable::give_back(const ModuleUse& use, std::int32_t uses) {
  const auto holds = [this, &use](std::size_t at) {
    return at < records_.size() && records_[at]->id == use.id;
  };
  {
    const ReadGuard guard(lock);
    if (!holds(position(use.record))) return nullptr;
    if (lower_if_uses_remain(use.record->users, uses)) return nullptr;
  }
  const WriteGuard guard(lock);
  const std::size_t at = position(use.record);
  if (!holds(at)) return nullptr;
  return use.record->users.fetch_sub(uses) > uses ? nullptr : remove_at(at);
}

ModuleTable::Added ModuleTable::add(ModuleOwner& record) {
  const WriteGuard guard(lock);
  if (find(record->name.get()) != nullptr) return Added::exists;
  record->id = next_id_;
  if (!insert(*record)) return Added::no_memory;
  ++next_id_;
  std::ignore = record.release();
  return Added::added;
}

bool ModuleTable::publish(ModuleRecord& record, OpenedModule& opened) {
  const WriteGuard guard(lock);
  if (opened.resolved) {
    const ModuleRecord* namesake = find(opened.resolved.get());
    if (namesake != nullptr && namesake != &record) return false;
  }
  records_.erase(position(&record));
  record.module = std::move(opened);
  // Cannot fail: erasing has left room for one.
  return insert(record);
}

void ModuleTable::mark_ready(ModuleRecord& record) {
  const WriteGuard guard(lock);
  record.ready = true;
  ended_loads_.fetch_add(1);
}

ModuleOwner ModuleTable::remove(const ModuleRecord& record) {
  const WriteGuard guard(lock);
  ended_loads_.fetch_add(1);
  const std::size_t at = position(&record);
  return at < records_.size() ? remove_at(at) : nullptr;
}

ModuleOwner ModuleTable::remove_last() {
  const WriteGuard guard(lock);
  return guard.held() && !records_.empty() ? remove_at(records_.size() - 1) : nullptr;
}

bool ModuleTable::resolve(const qm_wchar* name, void*& library, qm_call_fn& entry) {
  const ReadGuard guard(lock);
  const ModuleRecord* record = find(name);
  if (record == nullptr || !record->ready || entry_of(record->module) == nullptr) return false;
  library = record->module.library.get().os;
  entry = entry_of(record->module);
  return true;
}

void ModuleTable::measure(std::int32_t& count, std::int64_t& size) {
  // What the table and each record take on 32-bit Windows, so that reports compare between systems.
  constexpr std::int64_t kTableSize = 52;
  constexpr std::int64_t kRecordSize = 1100;
  const ReadGuard guard(lock);
  count = static_cast<std::int32_t>(records_.size());
  size = kTableSize + kRecordSize * count;
  for (const ModuleRecord* record : records_) {
    size +=
        size_of(record->name) + size_of(record->module.resolved) + size_of(record->module.group);
  }
}

ModuleRecord* ModuleTable::find(const qm_wchar* name) const {
  if (name == nullptr) return nullptr;
  const WideView wanted(name);
  std::size_t first = 0;
  std::size_t last = records_.size();
  while (first < last) {
    const std::size_t middle = first + (last - first) / 2;
    const int order = WideView(records_[middle]->key()).compare(wanted);
    if (order == 0) return records_[middle];
    if (order > 0) {
      first = middle + 1;
    } else {
      last = middle;
    }
  }
  // Records are ordered by the names they were asked for, so the binary search may miss one that an
  // alias renamed.
  const auto found =
      std::find_if(records_.begin(), records_.end(),
                   [wanted](const ModuleRecord* r) { return WideView(r->key()) == wanted; });
  return found == records_.end() ? nullptr : *found;
}

std::size_t ModuleTable::position(const ModuleRecord* record) const {
  const auto found = std::find(records_.begin(), records_.end(), record);
  return static_cast<std::size_t>(found - records_.begin());
}

bool ModuleTable::insert(ModuleRecord& record) {
  const std::size_t at = records_.lower_bound(
      [&record](const ModuleRecord* other) { return stands_before(*other, record); });
  return records_.insert(at, &record);
}

ModuleOwner ModuleTable::remove_at(std::size_t at) {
  ModuleOwner record(records_[at]);
  records_.erase(at);
  return record;
}

}  // namespace qmsd
