#include "memory/tracked_heap.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "kernel/errors/error_state.h"
#include "services/text/strings.h"

namespace qmsd {
namespace {

constexpr const char* kUnknownFile = "unknown file";

// The steps at which memory can run out, by the numbers that messages have always given them.
enum FailurePoint : std::int32_t { kGrowingList = 195, kNewBlock = 199, kResizing = 202 };

bool exhausted(std::int32_t size, FailurePoint point) {
  return fail(QM_ERROR_NO_MEMORY, QM_W("Realloc FAILED. size: %i l: %i"), size, point);
}

const char* file_of(const BlockRecord& record) {
  return record.file ? record.file.get() : kUnknownFile;
}

bool wanted(const char* buffer, std::int32_t size) { return buffer != nullptr && size != 0; }

// The first eight bytes as characters and in hexadecimal; missing ones show as blank and 00.
void dump(const BlockRecord& record, char* buffer, std::int32_t size) {
  unsigned hex[8] = {};
  int shown[8];
  const std::int32_t readable = record.header_sound() ? record.capacity : 0;
  for (std::int32_t i = 0; i < 8; ++i) {
    if (i < readable) hex[i] = std::to_integer<unsigned>(record.data[i]);
    shown[i] = hex[i] != 0 ? static_cast<int>(hex[i]) : ' ';
  }
  format_narrow(buffer, size, "<%c%c%c%c%c%c%c%c> %02x %02x %02x %02x %02x %02x %02x %02x",
                shown[0], shown[1], shown[2], shown[3], shown[4], shown[5], shown[6], shown[7],
                hex[0], hex[1], hex[2], hex[3], hex[4], hex[5], hex[6], hex[7]);
}

void describe_free_place(qm_mem_info& info) {
  if (wanted(info.file, info.file_size)) *info.file = 0;
  if (wanted(info.dump, info.dump_size)) *info.dump = 0;
  info.line = -1;
  info.capacity = -1;
  info.pointer = nullptr;
}

void describe_block(const BlockRecord& record, qm_mem_info& info) {
  if (wanted(info.file, info.file_size))
    format_narrow(info.file, info.file_size, "%s", file_of(record));
  if (wanted(info.dump, info.dump_size)) dump(record, info.dump, info.dump_size);
  info.line = record.line;
  info.capacity = record.capacity;
  info.pointer = record.data;
}

}  // namespace

bool TrackedHeap::reallocate(void** pointer, std::int32_t size, const char* file,
                             std::int32_t line) {
  if (size < 0 || pointer == nullptr) return refuse(QM_W("(size < 0) || (!buffer)"));
  WriteGuard guard(lock);
  return *pointer == nullptr ? allocate(pointer, size, file, line)
                             : change(pointer, size, file, line);
}

// A record that cannot be completed stays in the list on purpose: the list then counts as damaged,
// and check() reports it.
bool TrackedHeap::allocate(void** pointer, std::int32_t size, const char* file, std::int32_t line) {
  if (size == 0) return true;
  std::size_t index;
  if (!blocks_.claim_place(index)) {
    const std::size_t bytes = blocks_.count() * sizeof(void*);
    return exhausted(static_cast<std::int32_t>(bytes), kGrowingList);
  }
  BlockOwner made = platform::heap_new<BlockRecord>();
  if (!made) return exhausted(size, kNewBlock);
  BlockRecord& record = *made;
  blocks_.put(index, std::move(made));
  if (!record.build(size, guard_, file, line)) return exhausted(size, kNewBlock);
  *pointer = record.data;
  return true;
}

bool TrackedHeap::change(void** pointer, std::int32_t size, const char* file, std::int32_t line) {
  std::size_t index;
  if (blocks_.find(*pointer, index) != BlockList::Found::block) {
    return refuse(QM_W("No qm allocated buffer: %p, %i ([%i]: %hs)"), *pointer, size, line,
                  file != nullptr ? file : "");
  }
  BlockRecord& record = *blocks_.at(index);
  if (!record.sound()) return fail(QM_ERROR_DAMAGED);
  if (size == 0) {
    blocks_.remove(index);
    *pointer = nullptr;
    return true;
  }
  if (!record.resize(size, guard_, file, line)) return exhausted(size, kResizing);
  *pointer = record.data;
  return true;
}

void TrackedHeap::discard(void* block) {
  WriteGuard guard(lock);
  std::size_t index;
  if (blocks_.find(block, index) == BlockList::Found::block) blocks_.remove(index);
}

bool TrackedHeap::contains(const void* block) const {
  ReadGuard guard(lock);
  std::size_t index;
  return blocks_.find(block, index) == BlockList::Found::block;
}

bool TrackedHeap::capacity_of(const void* block, std::int32_t& capacity) const {
  ReadGuard guard(lock);
  std::size_t index = 0;
  switch (blocks_.find(block, index)) {
    case BlockList::Found::empty:
      return refuse(QM_W("(buffer %p,%p,%i)"), block, blocks_.address(),
                    static_cast<std::int32_t>(blocks_.count()));
    case BlockList::Found::nothing:
      return refuse(QM_W("(buffer)"));
    case BlockList::Found::damage:
      return fail(QM_ERROR_DAMAGED);
    case BlockList::Found::block:
      break;
  }
  const BlockRecord& record = *blocks_.at(index);
  if (!record.sound()) return fail(QM_ERROR_DAMAGED);
  capacity = record.capacity;
  return true;
}

bool TrackedHeap::check() const {
  ReadGuard guard(lock);
  for (std::size_t i = 0; i < blocks_.count(); ++i) {
    const BlockRecord* record = blocks_.at(i);
    if (record == nullptr) continue;
    if (!record->header_sound()) return fail(QM_ERROR_DAMAGED, QM_W("In blocklist."));
    if (!record->guards_sound()) {
      return fail(QM_ERROR_DAMAGED, QM_W("In block allocated in %hs at %i."), file_of(*record),
                  record->line);
    }
  }
  return true;
}

bool TrackedHeap::describe(qm_mem_info& info) const {
  if (info.index < 0 || info.file_size < 0 || info.dump_size < 0) return fail(QM_ERROR_ARGUMENT);
  const auto index = static_cast<std::size_t>(info.index);
  ReadGuard guard(lock);
  if (index >= blocks_.count()) return fail(QM_ERROR_RANGE);
  if (const BlockRecord* record = blocks_.at(index)) {
    describe_block(*record, info);
  } else {
    describe_free_place(info);
  }
  return true;
}

BlockTotals TrackedHeap::totals() const {
  // The list itself and each record count with what they take on 32-bit Windows, so that reports
  // compare between systems.
  constexpr std::int64_t kListBytes = 44;
  constexpr std::int64_t kRecordBytes = 8;

  BlockTotals totals;
  std::int64_t data = 0;
  std::int64_t other = kListBytes;
  ReadGuard guard(lock);
  for (std::size_t i = 0; i < blocks_.count(); ++i) {
    const BlockRecord* record = blocks_.at(i);
    if (record == nullptr) continue;
    if (!record->header_sound()) {
      ++totals.damaged;
      continue;
    }
    ++totals.blocks;
    data += record->capacity + 2 * std::int64_t{record->guard};
    other += kRecordBytes;
    if (record->file) other += static_cast<std::int64_t>(std::strlen(record->file.get()) + 1);
  }
  totals.data_bytes = static_cast<std::int32_t>(data);
  totals.other_bytes = static_cast<std::int32_t>(other);
  return totals;
}

}  // namespace qmsd
