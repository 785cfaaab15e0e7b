// A module whose instances agree to everything and do nothing.
#include "include/qmsd7.h"

namespace {

int32_t QM_STDCALL agree(uint32_t, uint32_t function, void* params) {
  if (function == QM_CALL_OPENMODULEW) static_cast<qm_open_module_w*>(params)->handle = 1;
  return 1;
}

}  // namespace

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = {QM_MODULE_ID, 0x01000000, "Answers at once",
                                     QM_W("Answers at once"), &agree};
}
