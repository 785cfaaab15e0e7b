// A system semaphore, created by whichever thread needs it first. If the system refuses to create
// one, that is decided once for all threads: from then on the count is kept here and polled.
#include "platform/semaphore.h"

#include <windows.h>

#include <climits>

#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

constexpr DWORD kPollMilliseconds = 1;

const HANDLE kNoSemaphore = INVALID_HANDLE_VALUE;

std::atomic<bool> objects_refused{false};

HANDLE make_semaphore() {
  if (objects_refused.load(std::memory_order_relaxed)) return kNoSemaphore;
  const HANDLE semaphore = ::CreateSemaphoreW(nullptr, 0, LONG_MAX, nullptr);
  return semaphore != nullptr ? semaphore : kNoSemaphore;
}

void close_semaphore(HANDLE semaphore) {
  if (semaphore != nullptr && semaphore != kNoSemaphore) ::CloseHandle(semaphore);
}

HANDLE shared_semaphore(std::atomic<void*>& object) {
  void* decided = object.load(std::memory_order_acquire);
  if (decided != nullptr) return decided;
  const HANDLE mine = make_semaphore();
  if (object.compare_exchange_strong(decided, mine, std::memory_order_acq_rel)) return mine;
  close_semaphore(mine);
  return decided;
}

}  // namespace

Semaphore::~Semaphore() { close_semaphore(object_.load(std::memory_order_acquire)); }

void Semaphore::acquire() noexcept {
  const HANDLE semaphore = shared_semaphore(object_);
  if (semaphore != kNoSemaphore) {
    ::WaitForSingleObject(semaphore, INFINITE);
    return;
  }
  while (!try_acquire()) ::Sleep(kPollMilliseconds);
}

void Semaphore::release(std::uint32_t count) noexcept {
  if (count == 0) return;
  const HANDLE semaphore = shared_semaphore(object_);
  if (semaphore != kNoSemaphore) {
    ::ReleaseSemaphore(semaphore, static_cast<LONG>(count), nullptr);
  } else {
    count_.fetch_add(count, std::memory_order_release);
  }
}

void refuse_system_semaphores(bool refused) noexcept {
  objects_refused.store(refused, std::memory_order_relaxed);
}

}  // namespace qmsd::platform
