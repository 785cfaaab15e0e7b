// Text written into the target of a conversion.
#include "variant/text_target.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace qmsd {
namespace {

template <class Unit, class Text>
std::int32_t write_text(Unit* buffer, std::size_t length, const Text& text) {
  const std::size_t count = std::min(text.size(), length - 1);
  std::copy_n(text.begin(), count, buffer);
  buffer[count] = 0;
  buffer[length - 1] = 0;
  return static_cast<std::int32_t>(count + 1);
}

std::size_t wide_length(std::int32_t capacity) {
  return static_cast<std::size_t>(capacity) / sizeof(qm_wchar);
}

struct CodePoint {
  char32_t value;
  std::size_t units;
};

CodePoint first_code_point(WideView text) {
  constexpr char32_t kReplacement = 0xFFFD;
  const char32_t unit = text[0];
  if (unit < 0xD800 || unit > 0xDFFF) return {unit, 1};
  const char32_t next = text.size() > 1 ? text[1] : 0;
  const bool is_pair = unit < 0xDC00 && next >= 0xDC00 && next <= 0xDFFF;
  if (!is_pair) return {kReplacement, 1};
  return {0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), 2};
}

// The code point's bytes; returns how many there are.
std::size_t encode(char32_t code, char (&bytes)[4]) {
  const auto continuation = [code](int shift) {
    return static_cast<char>(0x80 | ((code >> shift) & 0x3F));
  };
  if (code < 0x80) {
    bytes[0] = static_cast<char>(code);
    return 1;
  }
  if (code < 0x800) {
    bytes[0] = static_cast<char>(0xC0 | code >> 6);
    bytes[1] = continuation(0);
    return 2;
  }
  if (code < 0x10000) {
    bytes[0] = static_cast<char>(0xE0 | code >> 12);
    bytes[1] = continuation(6);
    bytes[2] = continuation(0);
    return 3;
  }
  bytes[0] = static_cast<char>(0xF0 | code >> 18);
  bytes[1] = continuation(12);
  bytes[2] = continuation(6);
  bytes[3] = continuation(0);
  return 4;
}

}  // namespace

std::int32_t write_counted(char* buffer, std::int32_t capacity, std::int32_t width,
                           std::string_view text) {
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(width));
  std::memcpy(buffer, text.data(), count);
  if (count < static_cast<std::size_t>(width)) buffer[count] = 0;
  buffer[capacity - 1] = 0;
  return static_cast<std::int32_t>(std::strlen(buffer) + 1);
}

std::int32_t write_narrow(char* buffer, std::int32_t capacity, std::string_view text) {
  return write_text(buffer, static_cast<std::size_t>(capacity), text);
}

std::int32_t write_wide(qm_wchar* buffer, std::int32_t capacity, std::string_view ascii) {
  return write_text(buffer, wide_length(capacity), ascii);
}

std::int32_t write_wide(qm_wchar* buffer, std::int32_t capacity, WideView text) {
  return write_text(buffer, wide_length(capacity), text);
}

std::int32_t write_utf8(char* buffer, std::int32_t capacity, WideView text) {
  const std::size_t room = static_cast<std::size_t>(capacity) - 1;
  std::size_t written = 0;
  while (!text.empty()) {
    const CodePoint code = first_code_point(text);
    char bytes[4];
    const std::size_t size = encode(code.value, bytes);
    if (size > room - written) break;
    std::memcpy(buffer + written, bytes, size);
    written += size;
    text.remove_prefix(code.units);
  }
  buffer[written] = 0;
  buffer[room] = 0;
  return static_cast<std::int32_t>(written + 1);
}

}  // namespace qmsd
