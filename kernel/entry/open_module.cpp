// Opening a module instance.
#include "kernel/entry/open_module.h"

#include <cstdint>
#include <utility>

#include "kernel/base/trace.h"
#include "kernel/entry/handle_table.h"
#include "kernel/errors/error_state.h"
#include "modules/registry.h"
#include "platform/heap.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

// A module may define fields behind the three that the kernel knows, so it is given the caller's
// own record. For the length of the call name and group are copies, because an alias may replace
// them; the destructor puts the caller's pointers back.
class LentRecord {
 public:
  explicit LentRecord(qm_open_module_w& record)
      : LentRecord(record, copy(record.name), copy(record.group)) {}
  ~LentRecord() {
    platform::heap_free(const_cast<qm_wchar*>(record_.name));
    platform::heap_free(const_cast<qm_wchar*>(record_.group));
    record_.name = name_;
    record_.group = group_;
    record_.handle = 0;  // what the module wrote is its own handle, not the caller's
  }
  LentRecord(const LentRecord&) = delete;
  LentRecord& operator=(const LentRecord&) = delete;

  bool complete() const {
    return record_.name != nullptr && (record_.group != nullptr) == (group_ != nullptr);
  }
  const qm_wchar* asked_name() const { return name_; }

 private:
  LentRecord(qm_open_module_w& record, OwnedText name, OwnedText group) noexcept
      : record_(record), name_(record.name), group_(record.group) {
    record_.name = name.release();
    record_.group = group.release();
    record_.handle = 0;
  }
  static OwnedText copy(const qm_wchar* text) {
    return text == nullptr ? nullptr : copy_text(text);
  }

  qm_open_module_w& record_;
  const qm_wchar* const name_;
  const qm_wchar* const group_;
};

// Takes an issued handle back unless it was bound.
class IssuedHandle {
 public:
  IssuedHandle() : value_(handle_issue()) {}
  ~IssuedHandle() {
    if (value_ == 0) return;
    const SavedError error;
    handle_drop(value_);
  }
  IssuedHandle(const IssuedHandle&) = delete;
  IssuedHandle& operator=(const IssuedHandle&) = delete;

  std::uint32_t value() const { return value_; }
  std::uint32_t keep() { return std::exchange(value_, 0); }

 private:
  std::uint32_t value_;
};

// What the module opened, closed again unless a handle was bound to it.
class OpenedInstance {
 public:
  explicit OpenedInstance(const qm_open_module_w& record) : record_(&record) {}
  ~OpenedInstance() {
    if (record_ == nullptr) return;
    const SavedError error;
    qm_handle_ref closing{record_->handle};
    registry_call(record_->name, record_->handle, QM_CALL_CLOSEHANDLE, &closing, UseMode::instance);
  }
  OpenedInstance(const OpenedInstance&) = delete;
  OpenedInstance& operator=(const OpenedInstance&) = delete;

  bool bind_to(std::uint32_t handle) {
    if (!handle_bind(handle, record_->name, record_->handle)) return false;
    record_ = nullptr;
    return true;
  }

 private:
  const qm_open_module_w* record_;
};

// The handle of the opened and bound instance, or 0 with an error.
std::uint32_t open_instance(qm_open_module_w& record) {
  const LentRecord lent(record);
  if (!lent.complete()) return fail(QM_ERROR_NO_MEMORY);
  IssuedHandle handle;
  if (handle.value() == 0) return fail(QM_ERROR_NO_MEMORY);
  if (registry_call(lent.asked_name(), 0, QM_CALL_OPENMODULEW, &record, UseMode::instance) == 0) {
    return 0;
  }
  OpenedInstance instance(record);
  return instance.bind_to(handle.value()) ? handle.keep() : 0;
}

}  // namespace

bool open_module_wide(qm_open_module_w* record) {
  const bool asked = record != nullptr && record->name != nullptr;
  if (!asked) refuse(QM_W("(!ptr || !name)"));
  if (record != nullptr) record->handle = 0;
  const std::uint32_t handle = asked ? open_instance(*record) : 0;
  if (handle == 0) {
    trace("--- qmapi_open_module error (name: %ls)", asked ? record->name : QM_W(""));
    return false;
  }
  record->handle = handle;
  return true;
}

bool open_module_narrow(qm_open_module_a* record) {
  if (record == nullptr) return open_module_wide(nullptr);
  record->handle = 0;
  const OwnedText name = wcs_dup_from_mbs(record->name);
  const OwnedText group = wcs_dup_from_mbs(record->group);
  if ((record->name != nullptr && !name) || (record->group != nullptr && !group)) {
    return fail(QM_ERROR_NO_MEMORY);
  }
  qm_open_module_w wide{name.get(), group.get(), 0};
  const bool opened = open_module_wide(&wide);
  record->handle = wide.handle;
  return opened;
}

}  // namespace qmsd
