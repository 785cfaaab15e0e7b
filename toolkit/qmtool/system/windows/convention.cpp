#include "toolkit/qmtool/system/convention.h"

namespace qmtool {

const bool kKnowsConventions = true;

// A call compiled the usual way would put the stack pointer right in its own way, or fall over.
MeasuredCall call_measured(qm_call_fn entry, std::uint32_t handle, std::uint32_t code,
                           void* record) {
  auto entry_and_result = reinterpret_cast<std::intptr_t>(entry);
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
      : "=&c"(drift), "+a"(entry_and_result), "+b"(handle), "+d"(record)
      : "0"(code)
      : "esi", "cc", "memory");
  return {static_cast<std::int32_t>(entry_and_result), drift};
}

}  // namespace qmtool
