// One handle: references and the owner behind it.
#include "kernel/entry/handle_record.h"

#include "modules/registry.h"
#include "services/text/strings.h"

namespace qmsd {

void add_reference(HandleRecord& record) {
  const SemaphoreGuard guard(record.guard);
  ++record.references;
  // The registry answers this notice by itself and touches nothing, which is what makes it fit to
  // be given under the table's lock.
  if (record.kind == OwnerKind::module_instance) {
    registry_call(record.owner_name.get(), record.owner_handle, QM_CALL_REFHANDLE, nullptr,
                  UseMode::instance);
  }
}

bool drop_reference(HandleRecord& record) {
  const SemaphoreGuard guard(record.guard);
  return --record.references == 0;
}

void describe_owner(const HandleRecord& record, HandleOwner& owner) {
  owner.kind = record.kind;
  owner.handle = record.owner_handle;
  owner.name[0] = 0;
  if (record.owner_name) wcs_copy_bounded(owner.name, kModuleTextLength, record.owner_name.get());
}

void close_owner(const HandleRecord& record) {
  if (!record.owner_name || record.kind != OwnerKind::module_instance) return;
  qm_handle_ref closing{record.owner_handle};
  registry_call(record.owner_name.get(), record.owner_handle, QM_CALL_CLOSEHANDLE, &closing,
                UseMode::instance);
}

}  // namespace qmsd
