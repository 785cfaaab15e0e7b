// Reads a node's children from the property store: each child's name is a hexadecimal number, its
// value the number's text.
#include "modules/table_loader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "include/qmsd7.h"
#include "kernel/errors/error_state.h"
#include "modules/property_client.h"
#include "platform/heap.h"
#include "services/tables/error_texts.h"
#include "services/tables/group_table.h"
#include "services/text/digits.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

constexpr std::size_t kListingLength = 0x40000;
constexpr std::size_t kValueLength = 1024;
constexpr std::size_t kChildPathLength = 32;

constexpr WideView kLineEnds = QM_W("\r\n");
constexpr WideView kSpaces = QM_W(" \t\v\f");

struct LoadedTable {
  const qm_wchar* node;
  bool (*set)(std::int32_t id, const qm_wchar* text);
};

bool take(WideView& text, WideView prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// The number at the start of the line, 0 without one; what follows it does not matter. Numbers
// beyond 32 bits with sign are cut to the nearest.
std::int32_t parse_id(WideView line) {
  using Limits = std::numeric_limits<std::int32_t>;
  take(line, QM_W("x"));
  line.remove_prefix(std::min(line.find_first_not_of(kSpaces), line.size()));
  const bool negative = take(line, QM_W("-"));
  if (!negative) take(line, QM_W("+"));
  if (!take(line, QM_W("0x"))) take(line, QM_W("0X"));
  std::int64_t value = 0;
  for (const qm_wchar letter : line) {
    const int digit = hexadecimal_value(letter);
    if (digit == kNoDigit) break;
    value = std::min<std::int64_t>(value * 16 + digit, -std::int64_t{Limits::min()});
  }
  if (negative) value = -value;
  return static_cast<std::int32_t>(std::min<std::int64_t>(value, Limits::max()));
}

void load_child(const LoadedTable& table, const qm_wchar* name) {
  const std::int32_t id = parse_id(name);
  if (id == 0) return;
  qm_wchar path[kChildPathLength];
  format_wide(path, kChildPathLength, QM_W("%ls/%ls"), table.node, name);
  qm_wchar value[kValueLength];
  if (property_read(path, value)) table.set(id, value);
}

// False when the store does not answer.
bool load_children(const LoadedTable& table) {
  const OwnedText listing = platform::heap_array<qm_wchar>(kListingLength);
  if (!listing || !property_list(table.node, {listing.get(), kListingLength})) return false;
  qm_wchar* line = listing.get();
  for (WideView rest(line); !rest.empty();) {
    const std::size_t length = std::min(rest.find_first_of(kLineEnds), rest.size());
    const std::size_t taken = std::min(length + 1, rest.size());
    rest.remove_prefix(taken);
    line[length] = 0;
    load_child(table, line);
    line += taken;
  }
  return true;
}

}  // namespace

void error_texts_load() {
  if (!error_texts_claim_loading()) return;
  const SavedError error;
  // Where there is a store, "no error" has no text.
  if (load_children({QM_W("/default/error"), &error_texts_set})) error_texts_set(0, QM_W(""));
}

void groups_load() {
  if (!groups_claim_loading()) return;
  const SavedError error;
  load_children({QM_W("/default/groups"), &groups_set});
}

}  // namespace qmsd
