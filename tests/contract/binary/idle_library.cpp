// A library with the runtime and the system libraries that the kernel has, and nothing of its own.
#include <windows.h>

#include "include/qmsd7.h"

// Linked for what they bring along; the tests pass no record.
extern "C" QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t, uint32_t, void* params) {
  if (params != nullptr) throw ::GetFileVersionInfoSizeW(L"kernel32.dll", nullptr);
  return 1;
}
