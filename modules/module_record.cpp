// Calls into one module, and what the kernel answers in its place.
#include "modules/module_record.h"

#include "kernel/base/lock_order.h"
#include "kernel/errors/error_state.h"
#include "memory/tracked_allocator.h"
#include "modules/extended_adapter.h"
#include "modules/version_info.h"

namespace qmsd {
namespace {

// Two threads may read at once; the first result stays.
bool read_module_version(ModuleRecord& record) {
  if (record.module.path[0] == 0) {
    return fail(QM_ERROR_MODULE_NOT_OPEN, QM_W("Module is not opened."));
  }
  qm_version_props* props = nullptr;
  if (!read_version_info(record.module.path, &props)) return false;
  qm_version_props* none = nullptr;
  if (!record.version.compare_exchange_strong(none, props)) tracked_release(props);
  return true;
}

bool module_version(ModuleRecord& record, qm_module_version* answer) {
  if (answer == nullptr) return refuse(QM_W("(!ptr)"));
  if (record.version.load() == nullptr && !read_module_version(record)) return false;
  answer->props = record.version.load();
  return true;
}

}  // namespace

ModuleRecord::~ModuleRecord() {
  module.library.reset();
  tracked_release(version.load());
}

std::int32_t call_module(ModuleRecord& record, std::uint32_t handle, std::uint32_t code,
                         void* params) {
  if (code == QM_CALL_MODULEVERSIONINFO) {
    return module_version(record, static_cast<qm_module_version*>(params));
  }
  const OpenedModule& module = record.module;
  if (code == QM_CALL_OPENMODULEW &&
      !apply_alias(module, *static_cast<qm_open_module_w*>(params))) {
    return 0;
  }
  assert_no_lock_held("a module is called");
  if (module.info != nullptr && module.info->call != nullptr) {
    return module.info->call(handle, code, params);
  }
  if (module.extended != nullptr && module.extended->call != nullptr) {
    return call_extended(module.extended->call, handle, code, params);
  }
  return fail(QM_ERROR_NOT_FOUND, QM_W("('%ls' -> qm_call?)"), record.name.get());
}

}  // namespace qmsd
