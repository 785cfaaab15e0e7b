// Text written into the target of a conversion.
#include "variant/text_target.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "platform/unicode.h"

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

// An unpaired surrogate is replaced.
platform::CodePoint first_code_point(WideView text) {
  constexpr platform::CodePoint kReplacement{0xFFFD, 1};
  const platform::CodePoint point = platform::decode_utf16(text);
  return point.taken == 0 ? kReplacement : point;
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
    const platform::CodePoint code = first_code_point(text);
    char bytes[4];
    const std::size_t size = platform::encode_utf8(code.value, bytes);
    if (size > room - written) break;
    std::memcpy(buffer + written, bytes, size);
    written += size;
    text.remove_prefix(code.taken);
  }
  buffer[written] = 0;
  buffer[room] = 0;
  return static_cast<std::int32_t>(written + 1);
}

}  // namespace qmsd
