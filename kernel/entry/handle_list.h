// The live handles in the order of their values, and the counters that new ones come from.
// Pure bookkeeping: takes no lock, calls nobody, records nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel/base/growable_array.h"
#include "kernel/entry/handle_record.h"
#include "platform/heap.h"

namespace qmsd {

// Values above address groups, not instances.
inline constexpr std::uint32_t kFirstHandle = 0x10000;
inline constexpr std::uint32_t kLastHandle = 0xFFFEFFFF;

class HandleList {
 public:
  using Owner = platform::HeapOwner<HandleRecord>;

  // The counters go on from the given values.
  explicit HandleList(std::uint32_t last_issued = 0, std::uint32_t created = 0) noexcept
      : last_issued_(last_issued), created_(created) {}
  ~HandleList();

  // A new unbound record with a value that no live handle has; null when memory is exhausted.
  HandleRecord* add();
  HandleRecord* find(std::uint32_t handle);
  // Null for an unknown handle, or an empty list.
  Owner remove(std::uint32_t handle);
  Owner remove_oldest();

  std::size_t size() const noexcept { return records_.size(); }
  const HandleRecord* const* begin() const noexcept { return records_.begin(); }
  const HandleRecord* const* end() const noexcept { return records_.end(); }

 private:
  std::size_t position(std::uint32_t handle) const;
  std::uint32_t next_value();
  bool next_sequence();
  Owner remove_at(std::size_t at);

  GrowableArray<HandleRecord*, 32> records_;  // ascending by handle
  std::uint32_t last_issued_;
  std::uint32_t created_;  // source of the sequence numbers
};

}  // namespace qmsd
