// A kernel semaphore, made by whichever thread needs it first. If the system refuses to make one,
// that too is decided once for all threads: from then on the tokens are counted here and polled.
#include "platform/sleeper.h"

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

Sleeper::~Sleeper() { close_semaphore(object_.load(std::memory_order_acquire)); }

void Sleeper::sleep() noexcept {
  const HANDLE semaphore = shared_semaphore(object_);
  if (semaphore != kNoSemaphore) {
    ::WaitForSingleObject(semaphore, INFINITE);
    return;
  }
  while (!take_token()) ::Sleep(kPollMilliseconds);
}

void Sleeper::wake(std::uint32_t threads) noexcept {
  if (threads == 0) return;
  const HANDLE semaphore = shared_semaphore(object_);
  if (semaphore != kNoSemaphore) {
    ::ReleaseSemaphore(semaphore, static_cast<LONG>(threads), nullptr);
  } else {
    tokens_.fetch_add(threads, std::memory_order_release);
  }
}

void refuse_sleeper_objects(bool refused) noexcept {
  objects_refused.store(refused, std::memory_order_relaxed);
}

}  // namespace qmsd::platform
