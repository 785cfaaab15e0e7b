// Names in memory.
#include "variant/name.h"

#include <new>

#include "platform/heap.h"

namespace qmsd {

qm_wchar* make_name(WideView text) {
  const std::size_t units = (text.size() + 1) * sizeof(qm_wchar);
  void* memory = platform::heap_allocate(sizeof(NameHeader) + units);
  if (memory == nullptr) return nullptr;
  auto* header = ::new (memory) NameHeader{text.size(), 1};
  auto* name = reinterpret_cast<qm_wchar*>(header + 1);
  text.copy(name, text.size());
  name[text.size()] = 0;
  return name;
}

qm_wchar* share_name(qm_wchar* name) noexcept {
  if (name != nullptr) header_of(name).references.fetch_add(1, std::memory_order_relaxed);
  return name;
}

void drop_name(qm_wchar* name) noexcept {
  if (name == nullptr) return;
  NameHeader& header = header_of(name);
  // Nobody can add a reference while this is the only one: the first test spares an atomic write.
  const bool is_last = header.references.load(std::memory_order_acquire) == 1 ||
                       header.references.fetch_sub(1, std::memory_order_acq_rel) == 1;
  if (is_last) platform::heap_free(&header);
}

}  // namespace qmsd
