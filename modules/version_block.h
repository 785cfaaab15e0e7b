// Reads the bytes of a version resource. Pure: knows no file, allocates nothing, records nothing,
// and stays inside its bytes whatever they hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "services/text/text.h"

namespace qmsd {

using VersionBytes = std::span<const std::byte>;

// The packed version word of the fixed information; false when there is none with its signature.
bool fixed_version(VersionBytes block, std::uint32_t& version);

// Finding the text entries of the first translation.
enum class VersionTable { found, no_translation, no_string_table };

// Walks the entries of one string table.
class VersionEntries {
 public:
  // Both texts lie in the block, terminated there. False at the end.
  bool next(WideView& key, WideView& value);

 private:
  friend VersionTable find_version_texts(VersionBytes block, VersionEntries& entries);
  VersionBytes block_;
  std::size_t at_ = 0;   // offset of the next entry
  std::size_t end_ = 0;  // end of the scan
};

VersionTable find_version_texts(VersionBytes block, VersionEntries& entries);

}  // namespace qmsd
