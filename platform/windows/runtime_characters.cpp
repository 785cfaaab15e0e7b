// The runtime's wide character is one unit here, so a surrogate pair has no narrow form.
#include "platform/runtime_characters.h"

#include <climits>
#include <cstdlib>

#include "platform/keep_errors.h"

namespace qmsd::platform {

WideCharacter runtime_widen(const char* source, std::size_t length) noexcept {
  const KeepErrors keep;
  WideCharacter result{};
  const int taken = std::mbtowc(&result.units[0], source, length);
  if (taken <= 0) return {};
  result.taken = static_cast<std::size_t>(taken);
  result.made = 1;
  return result;
}

NarrowCharacter runtime_narrow(const qm_wchar* source, std::size_t) noexcept {
  static_assert(sizeof(NarrowCharacter::bytes) >= MB_LEN_MAX);
  const KeepErrors keep;
  NarrowCharacter result{};
  const int made = std::wctomb(result.bytes, *source);
  if (made <= 0) return {};
  result.taken = 1;
  result.made = static_cast<std::size_t>(made);
  return result;
}

}  // namespace qmsd::platform
