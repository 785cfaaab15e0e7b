// Destruction of variants.
#include "variant/release_list.h"

#include "platform/heap.h"
#include "variant/object_owner.h"
#include "variant/variant.h"

namespace qmsd {

std::int32_t ReleaseList::drop(qm_variant& variant) noexcept {
  const std::int32_t before = variant.drop_reference();
  if (before == 1) {
    // A dead variant needs no name, so the link to the next one is kept in that field.
    drop_name(variant.name_);
    variant.next_dead_ = dead_;
    dead_ = &variant;
  }
  return before;
}

ReleaseList::~ReleaseList() {
  while (dead_ != nullptr) {
    qm_variant* variant = dead_;
    dead_ = variant->next_dead_;
    variant->name_ = nullptr;
    destroy(*variant);
  }
}

// Children whose last reference goes join the list.
void ReleaseList::destroy(qm_variant& variant) {
  if (variant.kind() == Kind::container) {
    for (qm_variant* item : variant.items().entries()) drop(*item);
  } else if (variant.kind() == Kind::object) {
    give_object_back(variant.object());
  }
  for (qm_variant* attribute : variant.attributes().entries()) drop(*attribute);
  platform::HeapDelete<qm_variant>()(&variant);
}

}  // namespace qmsd
