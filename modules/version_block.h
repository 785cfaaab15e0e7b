// Reads the block of a version resource. Pure: knows no file, allocates nothing, records nothing,
// and stays inside the block whatever it holds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "services/text/text.h"

namespace qmsd {

// A block is a tree of entries made of 16-bit words, low byte first, which start at multiples of
// two words. An entry is its length in bytes, the length of its value, its type, a terminated key,
// the value, and entries below it.
using VersionBlock = WideView;

// The packed version word of the fixed information; false when there is none with its signature.
bool fixed_version(VersionBlock block, std::uint32_t& version);

// Finding the text entries of the first translation.
enum class VersionTable { found, no_translation, no_string_table };

// Walks the entries of one string table.
class VersionEntries {
 public:
  // The next entry that has a text; both views lie in the block. False at the end, or at the first
  // damaged entry.
  bool next(WideView& key, WideView& value);

 private:
  friend VersionTable find_version_texts(VersionBlock block, VersionEntries& entries);

  VersionBlock block_;  // up to the end of the walk
  std::size_t at_ = 0;  // where the next entry starts
};

VersionTable find_version_texts(VersionBlock block, VersionEntries& entries);

}  // namespace qmsd
