// One handle: what it is bound to and how many hold it.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"
#include "kernel/base/use_count.h"
#include "modules/library_search.h"
#include "services/text/text.h"

namespace qmsd {

enum class OwnerKind : std::int32_t { unbound = -1, module_instance = 1 };

struct HandleRecord {
  HandleRecord(std::uint32_t handle_value, std::uint32_t creation_order) noexcept
      : handle(handle_value), sequence(creation_order) {}

  OwnerKind kind = OwnerKind::unbound;
  OwnedText owner_name;            // set when the handle is bound
  const std::uint32_t handle;      // what callers hold
  std::uint32_t owner_handle = 0;  // what the owner calls the same object
  UseCount references{1};
  std::uint32_t sequence;  // creation order, which is the order of closing at teardown
};

// A copy of what a call needs to know of the owner: the record may be destroyed once the table's
// lock is released.
struct HandleOwner {
  OwnerKind kind;
  std::uint32_t handle;
  qm_wchar name[kModuleTextLength];
};

// The table's lock is held.
void describe_owner(const HandleRecord& record, HandleOwner& owner);
// Closes the owner's side of an object and ignores the result. No lock may be held.
void close_owner(const HandleRecord& record);

}  // namespace qmsd
