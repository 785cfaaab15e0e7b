// A module whose entry was declared without QM_STDCALL and forced into the record by a cast.
#include <qmsd7.h>

namespace {

int32_t serve(uint32_t, uint32_t function, void* record) {
  if (function == QM_CALL_OPENMODULEW) static_cast<qm_open_module_w*>(record)->handle = 1;
  return function == QM_CALL_OPENMODULEW || function == QM_CALL_CLOSEHANDLE;
}

}  // namespace

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = {
    QM_MODULE_ID, 0x01020304, "Test module", QM_W("Test module"),
    reinterpret_cast<qm_call_fn>(reinterpret_cast<void (*)()>(&serve))};

QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params) {
  return serve(handle, function, params);
}
}
