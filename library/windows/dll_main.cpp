// The loader's notices drive the kernel's start-up and shutdown.
#include <windows.h>

#include "kernel/entry/application_name.h"
#include "kernel/entry/lifecycle.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  qmsd::capture_application_name();
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      qmsd::attach();
      break;
    case DLL_PROCESS_DETACH:
      // A non-null argument: the process ends and its other threads have been killed already.
      qmsd::detach(reserved != nullptr);
      break;
    case DLL_THREAD_ATTACH:
      qmsd::thread_attach();
      break;
    case DLL_THREAD_DETACH:
      qmsd::thread_detach();
      break;
    default:
      break;
  }
  return TRUE;
}
