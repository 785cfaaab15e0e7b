#include "platform/clock.h"

#include <windows.h>

#include <algorithm>

namespace qmsd::platform {

std::int64_t monotonic_milliseconds() noexcept {
  LARGE_INTEGER frequency;
  LARGE_INTEGER count;
  ::QueryPerformanceFrequency(&frequency);
  ::QueryPerformanceCounter(&count);
  // Split, because the product of a long-running counter and 1000 may not fit.
  const std::int64_t seconds = count.QuadPart / frequency.QuadPart;
  const std::int64_t rest = count.QuadPart % frequency.QuadPart;
  return seconds * 1000 + rest * 1000 / frequency.QuadPart;
}

void sleep_milliseconds(std::uint32_t milliseconds) noexcept {
  // The largest number would mean for ever.
  ::Sleep(std::min<DWORD>(milliseconds, INFINITE - 1));
}

std::uintptr_t current_thread_id() noexcept { return ::GetCurrentThreadId(); }

}  // namespace qmsd::platform
