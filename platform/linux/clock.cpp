#include "platform/clock.h"

#include <pthread.h>
#include <sched.h>
#include <time.h>

#include <cerrno>

namespace qmsd::platform {
namespace {

constexpr long kNanosecondsPerMillisecond = 1'000'000;

}  // namespace

std::int64_t monotonic_milliseconds() noexcept {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / kNanosecondsPerMillisecond;
}

void sleep_milliseconds(std::uint32_t milliseconds) noexcept {
  if (milliseconds == 0) {
    ::sched_yield();
    return;
  }
  timespec left{};
  left.tv_sec = milliseconds / 1000;
  left.tv_nsec = static_cast<long>(milliseconds % 1000) * kNanosecondsPerMillisecond;
  while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
  }
}

std::uintptr_t current_thread_id() noexcept { return ::pthread_self(); }

}  // namespace qmsd::platform
