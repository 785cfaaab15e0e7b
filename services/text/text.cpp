// Owned copies of text.
#include "services/text/text.h"

#include <cstddef>

namespace qmsd {
namespace {

template <class Character>
platform::HeapArray<Character> copy(std::basic_string_view<Character> text) {
  auto copied = platform::heap_array<Character>(text.size() + 1);
  if (!copied) return copied;
  text.copy(copied.get(), text.size());
  copied[text.size()] = 0;
  return copied;
}

}  // namespace

OwnedText copy_text(WideView text) { return copy(text); }
OwnedNarrow copy_narrow(std::string_view text) { return copy(text); }

}  // namespace qmsd
