// Library files whose version resource has exactly the given bytes, and a builder for such bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "tests/contract/support/text.h"

namespace contract {

using Bytes = std::vector<unsigned char>;

// One node of a version resource: header, key, value, children.
struct VersionNode {
  Text key;
  std::uint16_t type = 1;          // 1 text, 0 raw data
  Bytes value;                     // as it lies in the file
  std::uint16_t value_length = 0;  // as the header tells
  std::vector<VersionNode> children;
};

// A text entry; its value's length counts the terminator.
VersionNode version_text(const Text& key, const Text& value);
// "VarFileInfo" with translations of language and code page.
VersionNode version_translations(const std::vector<std::pair<std::uint16_t, std::uint16_t>>& all);
// "StringFileInfo" with tables.
VersionNode version_tables(std::vector<VersionNode> tables);
// The root with the fixed information of version a.b.c.d.
VersionNode version_root(std::vector<VersionNode> children);
Bytes version_bytes(const VersionNode& root);

// A library file (which nobody can load) that carries the bytes where the system looks for them.
void write_version_file(const std::filesystem::path& file, const Bytes& block);

}  // namespace contract
