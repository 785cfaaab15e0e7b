#include "toolkit/qmtool/system/threads.h"

#include <windows.h>

#include <tlhelp32.h>

namespace qmtool {

std::size_t thread_count() {
  const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  std::size_t count = 0;
  for (BOOL more = ::Thread32First(snapshot, &entry); more;
       more = ::Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
  }
  ::CloseHandle(snapshot);
  return count;
}

#ifdef _WIN64

std::optional<std::ptrdiff_t> stack_drift(qm_call_fn, std::uint32_t, std::uint32_t, void*) {
  return std::nullopt;
}

#else

// A call compiled the usual way would put the stack pointer right in its own way, or fall over.
std::optional<std::ptrdiff_t> stack_drift(qm_call_fn entry, std::uint32_t handle,
                                          std::uint32_t code, void* record) {
  std::ptrdiff_t drift = 0;
  asm volatile(
      "movl %%esp, %%esi\n\t"
      "pushl %%edx\n\t"
      "pushl %%ecx\n\t"
      "pushl %%ebx\n\t"
      "call *%%eax\n\t"
      "movl %%esi, %%ecx\n\t"
      "subl %%esp, %%ecx\n\t"
      "movl %%esi, %%esp"
      : "=&c"(drift), "+a"(entry), "+b"(handle), "+d"(record)
      : "0"(code)
      : "esi", "cc", "memory");
  return drift;
}

#endif

}  // namespace qmtool
