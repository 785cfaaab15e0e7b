// The record of one tracked block: what is known of it, and how its memory is built, resized and
// checked. The owner of the records does the locking.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/heap.h"
#include "services/text/text.h"

namespace qmsd {

// The underlying memory is a guard zone, the user area of `capacity` bytes, and a second guard
// zone.
struct BlockRecord {
  static constexpr std::uint32_t kComplete = 0x5E4C2666;  // "f&L^" in memory
  static constexpr std::uint8_t kGuardByte = 0xA7;
  static constexpr std::int32_t kLargestCapacity = 0x7FFFFFFC;

  BlockRecord() noexcept = default;
  ~BlockRecord();
  BlockRecord(const BlockRecord&) = delete;
  BlockRecord& operator=(const BlockRecord&) = delete;

  // Allocates the block of a new record. If memory runs out the record stays half-built, and
  // header_sound() reports it as damaged. `from_file` may be null.
  bool build(std::int32_t wanted, std::int32_t guard_width, const char* from_file,
             std::int32_t from_line);
  // On failure the block is unchanged. Without a file the recorded position stays.
  bool resize(std::int32_t wanted, std::int32_t guard_width, const char* from_file,
              std::int32_t from_line);

  bool header_sound() const noexcept {
    return magic == kComplete && guard >= 0 && data != nullptr && capacity >= 1;
  }
  // Only for a sound header.
  bool guards_sound() const noexcept;
  bool sound() const noexcept { return header_sound() && guards_sound(); }

  std::uint32_t magic = 0;
  std::int32_t guard = 0;     // width of each guard zone in bytes
  std::byte* data = nullptr;  // the user area
  std::int32_t size = 0;      // bytes asked for
  std::int32_t capacity = 0;  // the same rounded up to a multiple of 4
  std::int32_t line = 0;      // of the caller, if given
  OwnedNarrow file;
};

using BlockOwner = platform::HeapOwner<BlockRecord>;

}  // namespace qmsd
