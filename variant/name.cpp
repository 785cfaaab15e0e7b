// Names in memory.
#include "variant/name.h"

#include <new>

#include "platform/heap.h"

namespace qmsd {

Name* Name::make(WideView text) {
  void* memory = platform::heap_allocate(sizeof(Name) + (text.size() + 1) * sizeof(qm_wchar));
  if (memory == nullptr) return nullptr;
  auto* name = ::new (memory) Name(text.size());
  auto* units = reinterpret_cast<qm_wchar*>(name + 1);
  text.copy(units, text.size());
  units[text.size()] = 0;
  return name;
}

void Name::drop_reference() noexcept {
  // Whoever holds the only reference need not fear that another thread takes one.
  const bool is_last = references_.load(std::memory_order_acquire) == 1 ||
                       references_.fetch_sub(1, std::memory_order_acq_rel) == 1;
  if (is_last) platform::heap_free(this);
}

}  // namespace qmsd
