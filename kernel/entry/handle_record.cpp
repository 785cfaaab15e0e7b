// The owner behind a handle.
#include "kernel/entry/handle_record.h"

#include "modules/registry.h"
#include "services/text/strings.h"

namespace qmsd {

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
