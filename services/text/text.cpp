// Owned copies of text.
#include "services/text/text.h"

#include <cstddef>

namespace qmsd {
namespace {

template <class Owned, class Character>
Owned copy(std::basic_string_view<Character> text) {
  void* memory = platform::heap_allocate((text.size() + 1) * sizeof(Character));
  Owned copied(static_cast<Character*>(memory));
  if (!copied) return copied;
  text.copy(copied.get(), text.size());
  copied[text.size()] = 0;
  return copied;
}

}  // namespace

OwnedText copy_text(WideView text) { return copy<OwnedText>(text); }
OwnedNarrow copy_narrow(std::string_view text) { return copy<OwnedNarrow>(text); }

}  // namespace qmsd
