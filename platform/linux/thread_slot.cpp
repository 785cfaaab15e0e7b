#include "platform/thread_slot.h"

#include <pthread.h>

namespace qmsd::platform {

static_assert(sizeof(pthread_key_t) == sizeof(std::uint32_t));

bool ThreadSlot::create_key(AtThreadEnd at_thread_end) noexcept {
  return ::pthread_key_create(&key_, at_thread_end) == 0;
}

void ThreadSlot::destroy_key() noexcept { ::pthread_key_delete(key_); }

void* ThreadSlot::get() const noexcept { return ::pthread_getspecific(key_); }

bool ThreadSlot::set(void* value) const noexcept { return ::pthread_setspecific(key_, value) == 0; }

}  // namespace qmsd::platform
