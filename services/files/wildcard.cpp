// One pass over name and pattern that only ever backtracks to the last "*".
#include "services/files/wildcard.h"

#include <cstddef>

namespace qmsd {
namespace {

// Tests a character against the set that begins at `at`, behind its "["; moves `at` behind the "]".
// False for a set that does not hold the character, and for one that is not well-formed.
bool match_set(WideView pattern, std::size_t& at, qm_wchar character) {
  const std::size_t end = pattern.find(QM_W(']'), at);
  if (end == WideView::npos) return false;
  const WideView set = pattern.substr(at, end - at);
  at = end + 1;
  bool holds = false;
  for (std::size_t i = 0; i < set.size(); ++i) {
    if (set[i] == '-') {
      const bool is_range = i > 0 && i + 1 < set.size();
      if (!is_range) return false;
      holds = holds || (set[i - 1] <= character && character <= set[i + 1]);
      ++i;
    } else {
      holds = holds || set[i] == character;
    }
  }
  return holds;
}

// One character of the name against one element of the pattern that is no "*".
bool match_one(WideView pattern, std::size_t& at, qm_wchar character) {
  const qm_wchar element = pattern[at++];
  if (element == '[') return match_set(pattern, at, character);
  return element == '?' || element == character;
}

}  // namespace

// It is enough to retry the last "*": every other element takes exactly one character, so whatever
// an earlier star could take more, the last one can take as well.
bool wildcard_match(WideView name, WideView pattern) {
  if (name == pattern) return true;
  constexpr std::size_t kNone = WideView::npos;
  std::size_t in_pattern = 0;
  std::size_t in_name = 0;
  std::size_t after_star = kNone;
  std::size_t star_took_to = 0;
  while (in_name < name.size()) {
    if (in_pattern < pattern.size() && pattern[in_pattern] == '*') {
      after_star = ++in_pattern;
      star_took_to = in_name;
      continue;
    }
    if (in_pattern < pattern.size() && match_one(pattern, in_pattern, name[in_name])) {
      ++in_name;
      continue;
    }
    if (after_star == kNone) return false;
    in_pattern = after_star;
    in_name = ++star_took_to;
  }
  while (in_pattern < pattern.size() && pattern[in_pattern] == '*') ++in_pattern;
  return in_pattern == pattern.size();
}

}  // namespace qmsd
