// Runtimes replace what a locale lacks by something alike; we accept a conversion to narrow text
// only if it leads back to where it came from.
#include "platform/multibyte.h"

#include <algorithm>

#include "platform/runtime_characters.h"

namespace qmsd::platform {
namespace {

bool leads_back(const NarrowCharacter& narrow, const qm_wchar* source) {
  const WideCharacter wide = widen_character(narrow.bytes, narrow.made);
  return wide.taken == narrow.made && wide.made == narrow.taken &&
         std::equal(wide.units, wide.units + wide.made, source);
}

}  // namespace

WideCharacter widen_beyond_ascii(const char* source, std::size_t length) noexcept {
  return runtime_widen(source, length);
}

NarrowCharacter narrow_beyond_ascii(const qm_wchar* source, std::size_t length) noexcept {
  const NarrowCharacter narrow = runtime_narrow(source, length);
  if (narrow.taken == 0 || !leads_back(narrow, source)) return {};
  return narrow;
}

}  // namespace qmsd::platform
