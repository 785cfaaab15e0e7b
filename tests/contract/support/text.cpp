#include "tests/contract/support/text.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace contract {
namespace {

#ifndef _WIN32
// The system's routine comes in two kinds: one fills the buffer, one returns the words.
[[maybe_unused]] const char* words_of(int, const char* buffer) { return buffer; }
[[maybe_unused]] const char* words_of(const char* words, const char*) { return words; }
#endif

}  // namespace

Text widen(std::string_view narrow) {
  Text wide;
  std::mbtowc(nullptr, nullptr, 0);
  while (!narrow.empty()) {
    wchar_t character = 0;
    const int used = std::mbtowc(&character, narrow.data(), narrow.size());
    if (used <= 0) break;
    wide.push_back(static_cast<qm_wchar>(character));
    narrow.remove_prefix(static_cast<std::size_t>(used));
  }
  return wide;
}

std::string printable(TextView text) {
  std::string shown;
  for (const qm_wchar unit : text) {
    if (unit >= 0x20 && unit < 0x7F) {
      shown.push_back(static_cast<char>(unit));
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(unit));
    shown += escape;
  }
  return shown;
}

Text text_of(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::vector<char> narrow(static_cast<std::size_t>(length) + 1);
  std::vsnprintf(narrow.data(), narrow.size(), format, again);
  va_end(again);
  return Text(narrow.begin(), narrow.end() - 1);
}

std::string pointer_digits(const void* pointer) {
  char digits[2 * sizeof pointer + 1];
  auto value = reinterpret_cast<std::uintptr_t>(pointer);
  for (std::size_t at = 2 * sizeof pointer; at-- > 0; value >>= 4) {
    digits[at] = "0123456789ABCDEF"[value & 0xF];
  }
  digits[2 * sizeof pointer] = '\0';
  return digits;
}

Text runtime_text(int code) {
  char words[256] = "";
#ifdef _WIN32
  strerror_s(words, sizeof words, code);
  return widen(words);
#else
  return widen(words_of(strerror_r(code, words, sizeof words), words));
#endif
}

}  // namespace contract
