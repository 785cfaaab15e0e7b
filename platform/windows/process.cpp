#include "platform/process.h"

#include <windows.h>

namespace qmsd::platform {
namespace {

using Query = BOOLEAN(NTAPI*)();

Query find_query() {
  const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
  if (system == nullptr) return nullptr;
  const FARPROC found = ::GetProcAddress(system, "RtlDllShutdownInProgress");
  return reinterpret_cast<Query>(reinterpret_cast<void (*)()>(found));
}

// Looked up while the library is loaded: the look-up takes the loader's lock, which nobody may wait
// for who waits for a lock of ours.
const Query query = find_query();

}  // namespace

bool process_is_ending() noexcept { return query != nullptr && query() != 0; }

}  // namespace qmsd::platform
