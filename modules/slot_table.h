// The shared 8-byte cells and their ids. Takes no lock and records nothing; its room's slots.cpp
// does both.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "kernel/base/growable_array.h"

namespace qmsd {

struct Slot {
  explicit Slot(std::int32_t slot_id) noexcept : id(slot_id) {}

  std::int32_t id;
  std::atomic<std::int32_t> users{1};
  alignas(8) std::byte data[8]{};
};

class SlotTable {
 public:
  static constexpr std::int32_t kFirstId = 1;
  static constexpr std::int32_t kLastId = std::numeric_limits<std::int32_t>::max();

  explicit SlotTable(std::int32_t next_id = kFirstId, std::int32_t last_id = kLastId) noexcept
      : next_id_(next_id), last_id_(last_id) {}
  ~SlotTable();

  enum class Created { yes, no_id, no_memory };

  // A fresh slot with one user. A slot that cannot be allocated leaves an empty place behind.
  Created create(Slot*& slot);
  // Null when there is no such slot.
  Slot* find(std::int32_t id) const;
  // Adds a user; false if that reaches the largest count, though the user stays counted.
  static bool join(Slot& slot) noexcept;
  // Removes a user; the last one frees the slot.
  void release(Slot& slot);

  std::size_t capacity() const noexcept { return slots_.capacity(); }

 private:
  bool choose_id(std::int32_t& id, std::size_t& place) const;
  std::int32_t id_after(std::int32_t id) const { return id < last_id_ ? id + 1 : kFirstId; }

  GrowableArray<Slot*, 32> slots_;  // ascending by id; null: an empty place
  std::int32_t next_id_;
  const std::int32_t last_id_;
};

}  // namespace qmsd
