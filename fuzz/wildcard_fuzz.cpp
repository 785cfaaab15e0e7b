// Random names and patterns against a matcher that simply tries everything.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "services/files/wildcard.h"

namespace {

using Text = std::basic_string<qm_wchar>;
using qmsd::WideView;

// The set behind "[": whether it is well-formed, holds the character, and where it ends.
struct Set {
  bool holds;
  std::size_t end;
};

Set match_set(WideView set, qm_wchar character) {
  const std::size_t end = set.find(QM_W(']'));
  if (end == WideView::npos) return {false, 0};
  set = set.substr(0, end);
  bool holds = false;
  for (std::size_t at = 0; at < set.size(); ++at) {
    if (set[at] != '-') {
      holds = holds || set[at] == character;
      continue;
    }
    if (at == 0 || at + 1 == set.size()) return {false, end + 1};
    holds = holds || (set[at - 1] <= character && character <= set[at + 1]);
    ++at;
  }
  return {holds, end + 1};
}

bool matches(WideView name, WideView pattern) {
  if (pattern.empty()) return name.empty();
  const WideView rest = pattern.substr(1);
  if (pattern[0] == '*') {
    for (std::size_t taken = 0; taken <= name.size(); ++taken) {
      if (matches(name.substr(taken), rest)) return true;
    }
    return false;
  }
  if (name.empty()) return false;
  if (pattern[0] == '[') {
    const Set set = match_set(rest, name[0]);
    return set.holds && matches(name.substr(1), rest.substr(set.end));
  }
  return (pattern[0] == '?' || pattern[0] == name[0]) && matches(name.substr(1), rest);
}

}  // namespace

// The first byte tells how long the name is. Short texts: trying everything takes its time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongest = 40;
  if (size < 1 || size > kLongest) return 0;
  const Text text(data + 1, data + size);
  const std::size_t length = text.empty() ? 0 : data[0] % (text.size() + 1);
  const Text name = text.substr(0, length);
  const Text pattern = text.substr(length);
  const bool expected = name == pattern || matches(name, pattern);
  if (qmsd::wildcard_match(name, pattern) != expected) std::abort();
  return 0;
}
