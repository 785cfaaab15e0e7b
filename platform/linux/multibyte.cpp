// The runtime's wide character is a code point here, so surrogate pairs are joined and split.
#include "platform/multibyte.h"

#include <langinfo.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "platform/keep_errors.h"
#include "platform/unicode.h"

namespace qmsd::platform {
namespace {

// Whether bytes are to be taken as they are. The runtime itself may refuse those above 127 then.
bool in_c_locale() {
  return MB_CUR_MAX == 1 && std::strcmp(::nl_langinfo(CODESET), "ANSI_X3.4-1968") == 0;
}

}  // namespace

WideCharacter widen_beyond_ascii(const char* source, std::size_t length) noexcept {
  if (in_c_locale()) return {1, 1, {static_cast<unsigned char>(*source), 0}};
  const KeepErrors keep;
  std::mbstate_t state{};
  wchar_t wide = 0;
  const std::size_t taken = std::mbrtowc(&wide, source, length, &state);
  if (taken == 0 || taken > length) return {};  // the runtime's errors are the largest sizes
  WideCharacter result{};
  result.made = encode_utf16(static_cast<char32_t>(wide), result.units);
  result.taken = result.made == 0 ? 0 : taken;
  return result;
}

NarrowCharacter narrow_beyond_ascii(const qm_wchar* source, std::size_t length) noexcept {
  static_assert(sizeof(NarrowCharacter::bytes) >= MB_LEN_MAX);
  if (in_c_locale()) {
    return *source > 0xFF ? NarrowCharacter{} : NarrowCharacter{1, 1, {static_cast<char>(*source)}};
  }
  const CodePoint point = decode_utf16({source, length});
  if (point.taken == 0) return {};
  const KeepErrors keep;
  NarrowCharacter result{};
  std::mbstate_t state{};
  result.made = std::wcrtomb(result.bytes, static_cast<wchar_t>(point.value), &state);
  if (result.made > sizeof result.bytes) return {};
  result.taken = point.taken;
  return result;
}

qm_wchar lower_case(qm_wchar character) noexcept {
  const std::wint_t lower = std::towlower(static_cast<std::wint_t>(character));
  return lower > 0xFFFF ? character : static_cast<qm_wchar>(lower);
}

}  // namespace qmsd::platform
