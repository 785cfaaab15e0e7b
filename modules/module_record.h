// One loaded or loading module.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "include/qmsd7.h"
#include "kernel/base/use_count.h"
#include "modules/module_opening.h"
#include "services/text/text.h"

namespace qmsd {

struct ModuleRecord {
  ModuleRecord(OwnedText asked_name, std::uintptr_t loading_thread)
      : name(std::move(asked_name)), loader(loading_thread) {}
  // Unloads the library. Foreign code runs: no lock may be held.
  ~ModuleRecord();
  ModuleRecord(const ModuleRecord&) = delete;
  ModuleRecord& operator=(const ModuleRecord&) = delete;

  // The name under which others find the module.
  const qm_wchar* key() const { return module.resolved ? module.resolved.get() : name.get(); }

  const OwnedText name;         // as the module was asked for
  const std::uintptr_t loader;  // the thread that loads it
  std::uint32_t id = 0;         // given once, by the table

  // Under the table's lock; `module` is constant once the record is ready.
  OpenedModule module;
  bool ready = false;  // may be called

  // Above 0 while the record is in the table; see use_count.h.
  UseCount users{1};

  // A tracked block, read on first request.
  std::atomic<qm_version_props*> version{nullptr};
};

// Passes a call to the module. The caller holds a use of it and no lock.
std::int32_t call_module(ModuleRecord& record, std::uint32_t handle, std::uint32_t code,
                         void* params);

}  // namespace qmsd
