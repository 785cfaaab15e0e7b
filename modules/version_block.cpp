// All positions and lengths are counted in 16-bit words.
#include "modules/version_block.h"

#include <algorithm>
#include <iterator>

#include "services/text/strings.h"

namespace qmsd {
namespace {

constexpr std::size_t kHeaderLength = 3;
constexpr std::size_t kTextEntry = 1;  // the type whose value length counts words, not bytes

std::size_t aligned(std::size_t at) { return (at + 1) & ~std::size_t{1}; }
std::size_t words_in(std::size_t bytes) { return (bytes + 1) / 2; }

// An entry whose header and key lie in the block. Its end may lie beyond, in a block that is cut
// off.
struct Entry {
  std::size_t end;
  std::size_t type;
  std::size_t value_length;  // in the units of the type
  std::size_t value;
  WideView key;

  std::size_t children() const {
    return aligned(value + (type == kTextEntry ? value_length : words_in(value_length)));
  }
};

bool read_entry(VersionBlock block, std::size_t at, Entry& entry) {
  if (at >= block.size() || block.size() - at < kHeaderLength) return false;
  entry.end = at + words_in(block[at]);
  entry.value_length = block[at + 1];
  entry.type = block[at + 2];
  const VersionBlock inside = block.substr(0, entry.end);
  const std::size_t key = at + kHeaderLength;
  const std::size_t key_end = inside.find(qm_wchar{0}, key);
  if (key_end == VersionBlock::npos) return false;
  entry.key = inside.substr(key, key_end - key);
  entry.value = aligned(key_end + 1);
  return true;
}

// The value as a text, which ends with its entry at the latest. False when nothing terminates it
// in the block.
bool read_text(VersionBlock block, const Entry& entry, WideView& value) {
  value = {};
  if (entry.value >= entry.end) return true;
  const std::size_t end = block.find(qm_wchar{0}, entry.value);
  if (end == VersionBlock::npos) return false;
  value = block.substr(entry.value, std::min(end, entry.end) - entry.value);
  return true;
}

qm_wchar lower_case(qm_wchar unit) {
  return unit >= QM_W('A') && unit <= QM_W('Z') ? static_cast<qm_wchar>(unit + 32) : unit;
}

bool same_key(WideView left, WideView right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](qm_wchar a, qm_wchar b) { return lower_case(a) == lower_case(b); });
}

bool find_child(VersionBlock block, const Entry& parent, WideView key, Entry& child) {
  const VersionBlock inside = block.substr(0, parent.end);
  for (std::size_t at = parent.children(); read_entry(inside, at, child); at = aligned(child.end)) {
    if (same_key(child.key, key)) return true;
  }
  return false;
}

bool is_version_info(const Entry& root) { return root.key == QM_W("VS_VERSION_INFO"); }

// The root entry, with the block cut to what belongs to it. Of a root by another name the length
// means nothing.
bool read_root(VersionBlock& block, Entry& root) {
  if (!read_entry(block, 0, root)) return false;
  if (!is_version_info(root)) root.end = block.size();
  block = block.substr(0, root.end);
  return true;
}

// The key of the first translation's string table: language and code page.
bool read_translation(VersionBlock block, const Entry& root, qm_wchar (&key)[9]) {
  Entry variables;
  Entry translation;
  if (!find_child(block, root, QM_W("VarFileInfo"), variables) ||
      !find_child(block, variables, QM_W("Translation"), translation)) {
    return false;
  }
  const VersionBlock value = block.substr(0, translation.end);
  if (translation.value_length < 4 || translation.value + 2 > value.size()) return false;
  format_wide(key, std::ssize(key), QM_W("%04x%04x"), unsigned{value[translation.value]},
              unsigned{value[translation.value + 1]});
  return true;
}

}  // namespace

bool fixed_version(VersionBlock block, std::uint32_t& version) {
  constexpr std::size_t kNeeded = 8;              // signature, structure version, file version
  constexpr std::size_t kParts[] = {5, 4, 7, 6};  // where the parts of the file version are
  Entry root;
  if (!read_root(block, root) || words_in(root.value_length) < kNeeded) return false;
  if (root.value > block.size() || block.size() - root.value < kNeeded) return false;
  const VersionBlock info = block.substr(root.value, kNeeded);
  if (info[0] != 0x04BD || info[1] != 0xFEEF) return false;
  version = 0;
  for (const std::size_t part : kParts) version = version << 8 | (info[part] & 0xFFU);
  return true;
}

VersionTable find_version_texts(VersionBlock block, VersionEntries& entries) {
  Entry root;
  qm_wchar key[9];
  if (!read_root(block, root) || !read_translation(block, root, key))
    return VersionTable::no_translation;
  Entry strings;
  Entry table;
  if (!find_child(block, root, QM_W("StringFileInfo"), strings) ||
      !find_child(block, strings, key, table)) {
    return VersionTable::no_string_table;
  }
  entries.block_ = is_version_info(root) ? block.substr(0, table.end) : block;
  entries.at_ = table.value;
  return VersionTable::found;
}

bool VersionEntries::next(WideView& key, WideView& value) {
  Entry entry;
  while (read_entry(block_, at_, entry) && entry.end <= block_.size()) {
    const bool text = entry.type == kTextEntry;
    if (text && entry.key == QM_W("VarFileInfo")) break;
    at_ = aligned(entry.end);
    if (!text || entry.value_length == 0) continue;
    if (!read_text(block_, entry, value)) break;
    if (value.empty()) continue;
    key = entry.key;
    return true;
  }
  at_ = block_.size();
  return false;
}

}  // namespace qmsd
