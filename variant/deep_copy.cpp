// Deep copies.
#include "variant/deep_copy.h"

#include <cstddef>

#include "platform/heap.h"
#include "variant/object_owner.h"
#include "variant/variant.h"

namespace qmsd {

DeepCopy::~DeepCopy() {
  if (taken_) return;
  // Children are in the map themselves, so each copy frees just what is its own.
  for (std::size_t at = 0; at < copies_.size(); ++at) {
    platform::HeapDelete<qm_variant>()(copies_[at].copy);
  }
}

// Null when memory is exhausted.
qm_variant* DeepCopy::new_copy(qm_variant& source, Findable findable) {
  auto copy = source.copy_without_children();
  if (!copy) return nullptr;
  const bool added = findable == Findable::yes ? copies_.add_findable(&source, copy.get())
                                               : copies_.add(&source, copy.get());
  return added ? copy.release() : nullptr;
}

// The child's copy with a reference for one holder. Every holder has a reference of its own, so
// a child with a single reference is not met again and need not be found.
qm_variant* DeepCopy::copy_child(qm_variant& child) {
  if (child.references() == 1) return new_copy(child, Findable::no);
  qm_variant* known = copies_.find(&child);
  if (known == nullptr) return new_copy(child, Findable::yes);
  known->add_reference();
  return known;
}

bool DeepCopy::copy_children(ChildList from, ChildList to) {
  if (!to.reserve(from.count())) return false;
  for (qm_variant* child : from.entries()) {
    qm_variant* copy = copy_child(*child);
    if (copy == nullptr) return false;
    to.append_reserved(*copy);
  }
  return true;
}

bool DeepCopy::make(qm_variant& source) {
  if (new_copy(source, Findable::yes) == nullptr) return false;
  for (std::size_t at = 0; at < copies_.size(); ++at) {
    const CopyMap::Pair pair = copies_[at];
    const bool is_container = pair.source->kind() == Kind::container;
    if (is_container && !copy_children(pair.source->items(), pair.copy->items())) return false;
    if (!copy_children(pair.source->attributes(), pair.copy->attributes())) return false;
  }
  return true;
}

qm_variant* DeepCopy::take() {
  taken_ = true;
  for (std::size_t at = 0; at < copies_.size(); ++at) {
    const qm_variant& copy = *copies_[at].copy;
    if (copy.kind() == Kind::object) take_object(copy.object());
  }
  return copies_[0].copy;
}

}  // namespace qmsd
