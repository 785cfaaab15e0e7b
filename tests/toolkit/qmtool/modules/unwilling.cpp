// A module whose load routine refuses.
#include <windows.h>

#include <qmsd7.h>

namespace {

int32_t QM_STDCALL serve(uint32_t, uint32_t, void*) { return 0; }

}  // namespace

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = {QM_MODULE_ID, 0x01020304, "Test module", QM_W("Test module"),
                                     &serve};

QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params) {
  return serve(handle, function, params);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return FALSE; }
}
