// A module that imports a function from another library, which may be missing, or of another make.
#include <qmsd7.h>

extern "C" int32_t near_number();

namespace {

int32_t QM_STDCALL serve(uint32_t, uint32_t function, void* record) {
  if (function == QM_CALL_OPENMODULEW) {
    static_cast<qm_open_module_w*>(record)->handle = static_cast<uint32_t>(near_number());
  }
  return function == QM_CALL_OPENMODULEW || function == QM_CALL_CLOSEHANDLE;
}

}  // namespace

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = {QM_MODULE_ID, 0x01020304, "Importing test module",
                                     QM_W("Importing test module"), &serve};

QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params) {
  return serve(handle, function, params);
}
}
