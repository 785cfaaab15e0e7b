#include "memory/block_record.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace qmsd {
namespace {

static_assert(sizeof(void*) != 4 || sizeof(BlockRecord) == 28);

// 0 when the capacity would be more than a record can tell.
std::int32_t capacity_for(std::int32_t size) {
  if (size > BlockRecord::kLargestCapacity) return 0;
  return (size + 3) & ~3;
}

std::size_t memory_size(std::int32_t capacity, std::int32_t guard) {
  return static_cast<std::size_t>(capacity) + 2 * static_cast<std::size_t>(guard);
}

std::byte* allocate(std::int32_t capacity, std::int32_t guard) {
  if (capacity == 0) return nullptr;
  return static_cast<std::byte*>(platform::heap_allocate(memory_size(capacity, guard)));
}

// The guard zones before and behind the user area.
std::span<std::byte> zone_before(const BlockRecord& record) {
  return {record.data - record.guard, static_cast<std::size_t>(record.guard)};
}
std::span<std::byte> zone_behind(const BlockRecord& record) {
  return {record.data + record.capacity, static_cast<std::size_t>(record.guard)};
}

// Completes the record for new memory. The bytes between size and capacity are cleared, so that
// a dump of the block shows no leftovers.
void adopt_memory(BlockRecord& record, std::byte* memory, std::int32_t size, std::int32_t guard) {
  record.guard = guard;
  record.data = memory + guard;
  record.size = size;
  record.capacity = capacity_for(size);
  for (const std::span<std::byte> zone : {zone_before(record), zone_behind(record)})
    std::ranges::fill(zone, std::byte{BlockRecord::kGuardByte});
  std::fill(record.data + record.size, record.data + record.capacity, std::byte{0});
}

bool keeps_guard(std::span<const std::byte> zone) {
  return std::ranges::all_of(
      zone, [](std::byte byte) { return byte == std::byte{BlockRecord::kGuardByte}; });
}

}  // namespace

BlockRecord::~BlockRecord() {
  if (data != nullptr) platform::heap_free(data - guard);
}

bool BlockRecord::build(std::int32_t wanted, std::int32_t guard_width, const char* from_file,
                        std::int32_t from_line) {
  size = wanted;
  capacity = capacity_for(wanted);
  if (from_file != nullptr && !(file = copy_narrow(from_file))) return false;
  line = from_line;
  std::byte* memory = allocate(capacity, guard_width);
  if (memory == nullptr) return false;
  adopt_memory(*this, memory, wanted, guard_width);
  magic = kComplete;
  return true;
}

bool BlockRecord::resize(std::int32_t wanted, std::int32_t guard_width, const char* from_file,
                         std::int32_t from_line) {
  if (from_file != nullptr) {
    OwnedNarrow copy = copy_narrow(from_file);
    if (!copy) return false;
    file = std::move(copy);
    line = from_line;
  }
  const std::int32_t wanted_capacity = capacity_for(wanted);
  if (wanted_capacity == 0) return false;
  std::byte* memory;
  if (guard_width == guard) {
    memory = static_cast<std::byte*>(
        platform::heap_reallocate(data - guard, memory_size(wanted_capacity, guard)));
    if (memory == nullptr) return false;
  } else {  // the user area moves within its memory
    memory = allocate(wanted_capacity, guard_width);
    if (memory == nullptr) return false;
    std::copy_n(data, std::min(capacity, wanted_capacity), memory + guard_width);
    platform::heap_free(data - guard);
  }
  adopt_memory(*this, memory, wanted, guard_width);
  return true;
}

bool BlockRecord::guards_sound() const noexcept {
  return keeps_guard(zone_before(*this)) && keeps_guard(zone_behind(*this));
}

}  // namespace qmsd
