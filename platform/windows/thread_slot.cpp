#include "platform/thread_slot.h"

#include <windows.h>

namespace qmsd::platform {

bool ThreadSlot::create_key(AtThreadEnd) noexcept {
  key_ = ::TlsAlloc();
  return key_ != TLS_OUT_OF_INDEXES;
}

void ThreadSlot::destroy_key() noexcept { ::TlsFree(key_); }

void* ThreadSlot::get() const noexcept {
  // Success sets the last error to 0, so that null can be told from a failure.
  const DWORD kept = ::GetLastError();
  void* value = ::TlsGetValue(key_);
  ::SetLastError(kept);
  return value;
}

bool ThreadSlot::set(void* value) const noexcept { return ::TlsSetValue(key_, value) != FALSE; }

}  // namespace qmsd::platform
