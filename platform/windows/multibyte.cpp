// The runtime's own routines replace what they cannot convert by "?" or a look-alike, so the
// system's are used instead, with the code page of the runtime's locale. A wide character is one
// unit here: a surrogate pair has no narrow form.
#include "platform/multibyte.h"

#include <windows.h>

#include <cctype>
#include <clocale>
#include <cwctype>

#include "platform/keep_errors.h"

namespace qmsd::platform {
namespace {

constexpr UINT kCLocale = 0;

UINT runtime_code_page() { return ::___lc_codepage_func(); }

}  // namespace

WideCharacter widen_beyond_ascii(const char* source, std::size_t length) noexcept {
  const auto lead = static_cast<unsigned char>(*source);
  const UINT code_page = runtime_code_page();
  if (code_page == kCLocale) return {1, 1, {lead, 0}};
  const int bytes = ::isleadbyte(lead) ? 2 : 1;
  if (static_cast<std::size_t>(bytes) > length) return {};
  const KeepErrors keep;
  WideCharacter result{};
  const int made =
      ::MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, source, bytes, result.units, 2);
  if (made != 1) return {};
  result.taken = static_cast<std::size_t>(bytes);
  result.made = 1;
  return result;
}

NarrowCharacter narrow_beyond_ascii(const qm_wchar* source, std::size_t) noexcept {
  const UINT code_page = runtime_code_page();
  if (code_page == kCLocale) {
    return *source > 0xFF ? NarrowCharacter{} : NarrowCharacter{1, 1, {static_cast<char>(*source)}};
  }
  const KeepErrors keep;
  NarrowCharacter result{};
  BOOL replaced = FALSE;
  const int made = ::WideCharToMultiByte(code_page, WC_NO_BEST_FIT_CHARS, source, 1, result.bytes,
                                         sizeof result.bytes, nullptr, &replaced);
  if (made <= 0 || replaced) return {};
  result.taken = 1;
  result.made = static_cast<std::size_t>(made);
  return result;
}

qm_wchar lower_case(qm_wchar character) noexcept { return ::towlower(character); }

}  // namespace qmsd::platform
