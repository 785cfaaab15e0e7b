// Calls by module name: loads on the first call, waits while another thread loads, counts the uses.
#include "modules/registry.h"

#include <utility>

#include "kernel/base/process_wide.h"
#include "kernel/base/waiting.h"
#include "kernel/errors/error_state.h"
#include "modules/module_opening.h"
#include "modules/module_record.h"
#include "modules/module_table.h"
#include "platform/clock.h"
#include "platform/heap.h"
#include "services/text/statistics.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

ProcessWide<ModuleTable> g_modules;

// How many modules shutdown closes: their clean-up code may load new ones without end.
constexpr int kMaxCloses = 1000;

struct Call {
  std::uint32_t handle;
  std::uint32_t code;
  void* params;

  bool opens() const { return code == QM_CALL_OPENMODULEW; }
  bool closes() const { return code == QM_CALL_CLOSEHANDLE || code == QM_CALL_UNREFHANDLE; }
  qm_open_module_w& open_record() const { return *static_cast<qm_open_module_w*>(params); }
  std::int32_t pass_to(ModuleRecord& record) const {
    return call_module(record, handle, code, params);
  }
};

// Limits the wait for a module that another thread is loading. Without a limit two threads would
// deadlock when one holds the loader's lock and wants what the other is loading.
class BoundedWait {
 public:
  void start() {
    if (start_ == kNotStarted) start_ = platform::monotonic_milliseconds();
  }
  bool is_over() const { return start_ != kNotStarted && elapsed() > kLimit; }
  // Sleeps one step, or until a load has ended since `ended_loads` was read. Without the early end
  // threads that open the same alias would wait a full step for each one ahead of them.
  void sleep(const ModuleTable& modules, std::uint32_t ended_loads) {
    start();
    const std::int64_t end = elapsed() + (elapsed() < kLimit / 2 ? 100 : 250);
    do {
      platform::sleep_milliseconds(kPoll);
    } while (elapsed() < end && modules.ended_loads() == ended_loads);
  }

 private:
  static constexpr std::int64_t kNotStarted = -1;
  static constexpr std::int64_t kLimit = 2000;  // milliseconds
  static constexpr std::uint32_t kPoll = 5;     // milliseconds

  std::int64_t elapsed() const { return platform::monotonic_milliseconds() - start_; }

  std::int64_t start_ = kNotStarted;
};

bool fail_busy(const qm_wchar* name) { return fail(QM_ERROR_BUSY, QM_W("('%ls')"), name); }

// The uses that a call on a loaded module gives back: its own, and for a close the opener's too.
// Modules whose names begin with "qm" belong to the kernel and stay loaded once opened.
std::int32_t uses_to_give_back(const Call& call, const ModuleRecord& record, UseMode mode) {
  if (mode == UseMode::group) return 1;
  if (call.opens()) return 0;
  if (call.code != QM_CALL_CLOSEHANDLE) return 1;
  return WideView(record.key()).starts_with(QM_W("qm")) ? 1 : 2;
}

std::int32_t call_loaded(ModuleTable& modules, const ModuleUse& use, const Call& call,
                         UseMode mode) {
  const std::int32_t uses = uses_to_give_back(call, *use.record, mode);
  const std::int32_t result = call.pass_to(*use.record);
  if (uses > 0) modules.give_back(use, uses).reset();
  return result;
}

// A new record in the table, removed again unless finish() is called.
class LoadingRecord {
 public:
  LoadingRecord(ModuleTable& modules, const qm_wchar* name) : modules_(modules) {
    OwnedText copy = copy_text(name);
    if (!copy) return;
    ModuleOwner record =
        platform::heap_new<ModuleRecord>(std::move(copy), platform::current_thread_id());
    if (!record) return;
    ModuleRecord* const entered = record.get();
    state_ = modules.add(record);
    if (state_ == ModuleTable::Added::added) record_ = entered;
  }
  ~LoadingRecord() {
    if (record_ != nullptr) modules_.remove(*record_).reset();
  }
  LoadingRecord(const LoadingRecord&) = delete;
  LoadingRecord& operator=(const LoadingRecord&) = delete;

  ModuleTable::Added state() const { return state_; }
  ModuleRecord& operator*() const { return *record_; }
  ModuleRecord& finish() {
    modules_.mark_ready(*record_);
    return *std::exchange(record_, nullptr);
  }

 private:
  ModuleTable& modules_;
  ModuleTable::Added state_ = ModuleTable::Added::no_memory;
  ModuleRecord* record_ = nullptr;
};

// The first call to a module tells it how to call the kernel.
void tell_kernel_entry(ModuleRecord& record) {
  qm_kernel_entry notice{&qm_call};
  call_module(record, 0, QM_CALL_SETKERNELENTRY, &notice);
}

// Without a table there are no modules.
ModuleTable::Found take_use(ModuleTable* modules, const qm_wchar* name, ModuleUse& use) {
  return modules != nullptr ? modules->take(name, use) : ModuleTable::Found::absent;
}

enum class Loaded { yes, no, elsewhere };

// Loads the module for its first call. `no` leaves the error of the failed step; `elsewhere` means
// that another record is in charge: under the name `resolved` if that was set, else under the same.
Loaded load(ModuleTable& modules, const qm_wchar* name, const Call& call, OwnedText& resolved,
            ModuleRecord*& loaded) {
  LoadingRecord own(modules, name);
  if (own.state() == ModuleTable::Added::exists) return Loaded::elsewhere;
  if (own.state() == ModuleTable::Added::no_memory) {
    fail(QM_ERROR_NO_MEMORY);
    return Loaded::no;
  }
  OpenedModule opened;
  const qm_wchar* group = call.opens() ? call.open_record().group : nullptr;
  if (!open_module_library(name, group, opened)) return Loaded::no;
  if (call.opens() && !apply_alias(opened, call.open_record())) return Loaded::no;
  if (!modules.publish(*own, opened)) {
    resolved = std::move(opened.resolved);
    return Loaded::elsewhere;
  }
  tell_kernel_entry(*own);
  loaded = &own.finish();
  return Loaded::yes;
}

}  // namespace

bool registry_create() { return g_modules.create(); }

void registry_destroy() {
  ModuleTable* const modules = g_modules.get();
  for (int closed = 0; modules != nullptr && closed < kMaxCloses; ++closed) {
    const ModuleOwner last = modules->remove_last();
    if (!last) break;
  }
  g_modules.destroy();
}

std::int32_t registry_call(const qm_wchar* name, std::uint32_t handle, std::uint32_t code,
                           void* record, UseMode mode) {
  // References are counted in the handle table; modules never hear of them.
  if (code == QM_CALL_REFHANDLE) return 1;

  const Call call{handle, code, record};
  ModuleTable* const modules = g_modules.get();
  OwnedText resolved;
  for (BoundedWait wait; !wait.is_over();) {
    ModuleUse use;
    const std::uint32_t ended_loads = modules ? modules->ended_loads() : 0;
    const auto found = take_use(modules, name, use);
    if (found == ModuleTable::Found::ready) return call_loaded(*modules, use, call, mode);
    if (found == ModuleTable::Found::loading_here) return fail_busy(name);
    if (found == ModuleTable::Found::loading) {
      // At process exit the loading thread is gone and will never finish.
      if (waiting_given_up()) return fail_busy(name);
      wait.sleep(*modules, ended_loads);
      continue;
    }
    if (call.closes()) return 1;
    if (name == nullptr) return fail(QM_ERROR_ARGUMENT);
    if (modules == nullptr) return fail(QM_ERROR_NO_MEMORY);
    wait.start();
    ModuleRecord* loaded = nullptr;
    switch (load(*modules, name, call, resolved, loaded)) {
      case Loaded::yes:
        return call.pass_to(*loaded);
      case Loaded::no:
        return 0;
      case Loaded::elsewhere:
        if (resolved) name = resolved.get();
    }
  }
  return fail_busy(name);
}

bool registry_resolve(const qm_wchar* name, void*& library, qm_call_fn& entry) {
  ModuleTable* const modules = g_modules.get();
  return modules != nullptr && modules->resolve(name, library, entry);
}

qmString registry_statistics() {
  static constinit LastReported last_count;
  static constinit LastReported last_size;

  std::int32_t count = 0;
  std::int64_t size = 0;
  if (ModuleTable* const modules = g_modules.get()) modules->measure(count, size);
  return statistics_line("[QMMODULES] nmodules: %i (%lli), allsize: %lli (%lli) bytes\n", count,
                         last_count.change_to(count), size, last_size.change_to(size));
}

}  // namespace qmsd
