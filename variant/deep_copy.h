// Deep copies of variants.
#pragma once

#include "include/qmsd7.h"
#include "variant/child_list.h"
#include "variant/copy_map.h"

namespace qmsd {

// Copies a variant with all its items and attributes, keeping shared what is shared, itself
// included. Works through a list of what has been copied instead of by recursion, so depth costs
// nothing.
class DeepCopy {
 public:
  DeepCopy() = default;
  ~DeepCopy();  // whatever was not taken is freed; no owner has heard of it
  DeepCopy(const DeepCopy&) = delete;
  DeepCopy& operator=(const DeepCopy&) = delete;

  // The variants' lock is held. False when memory is exhausted (nothing is recorded).
  bool make(qm_variant& source);
  // The copy, with one reference. Calls the owners of copied objects: no lock may be held.
  qm_variant* take();

 private:
  enum class Findable { no, yes };  // by its source, if that may be met again

  qm_variant* new_copy(qm_variant& source, Findable findable);
  qm_variant* copy_child(qm_variant& child);
  bool copy_children(ChildList from, ChildList to);

  CopyMap copies_;
  bool taken_ = false;
};

}  // namespace qmsd
