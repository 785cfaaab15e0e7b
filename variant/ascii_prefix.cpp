// Narrowing what is ASCII.
#include "variant/ascii_prefix.h"

#include <algorithm>

namespace qmsd {
namespace {

std::size_t ascii_length(WideView text) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](qm_wchar unit) { return unit >= 0x80; });
  return static_cast<std::size_t>(end - text.begin());
}

}  // namespace

AsciiPrefix::AsciiPrefix(WideView text) : narrow_(ascii_length(text)) {
  if (narrow_.text() == nullptr) return;
  std::transform(text.begin(), text.begin() + narrow_.length(), narrow_.text(),
                 [](qm_wchar unit) { return static_cast<char>(unit); });
}

}  // namespace qmsd
