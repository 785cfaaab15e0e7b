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

// Looked up while this library is loaded: the look-up takes the loader's lock, which a thread that
// waits for one of our locks must not wait for.
const Query query = find_query();

}  // namespace

bool process_is_ending() noexcept { return query != nullptr && query() != 0; }

}  // namespace qmsd::platform
