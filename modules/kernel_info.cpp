// The kernel's own information record, in the form in which every module gives its own.
#include "modules/registry.h"

namespace qmsd {
namespace {

constexpr qm_module_info kKernelInfo = {
    QM_MODULE_ID, QM_KERNEL_VERSION, "QM Library (rev: 49d3a6e)", QM_W("QM Library (rev: 49d3a6e)"),
    &qm_call,
};

}  // namespace

bool kernel_info(qm_info_request* record) {
  if (record != nullptr) record->info = &kKernelInfo;
  return true;
}

}  // namespace qmsd
