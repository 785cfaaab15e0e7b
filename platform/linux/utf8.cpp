#include "platform/linux/utf8.h"

#include <algorithm>
#include <string_view>

#include "platform/unicode.h"

namespace qmsd::platform {
namespace {

constexpr qm_wchar kEscape = 0xDC00;  // plus the byte

}  // namespace

bool widen_utf8(const char* text, qm_wchar* buffer, std::size_t length) noexcept {
  std::string_view rest = text;
  std::size_t used = 0;
  while (!rest.empty()) {
    const CodePoint point = decode_utf8(rest);
    const auto byte = static_cast<unsigned char>(rest[0]);
    qm_wchar units[2] = {static_cast<qm_wchar>(kEscape + byte), 0};
    const std::size_t count = point.taken == 0 ? 1 : encode_utf16(point.value, units);
    if (used + count >= length) break;
    std::copy_n(units, count, buffer + used);
    used += count;
    rest.remove_prefix(std::max<std::size_t>(point.taken, 1));
  }
  buffer[used] = 0;
  return rest.empty();
}

bool narrow_utf8(const qm_wchar* text, char* buffer, std::size_t size) noexcept {
  std::basic_string_view<qm_wchar> rest = text;
  std::size_t used = 0;
  while (!rest.empty()) {
    if (rest[0] < 0x80 && used + 1 < size) {
      buffer[used++] = static_cast<char>(rest[0]);
      rest.remove_prefix(1);
      continue;
    }
    const CodePoint point = decode_utf16(rest);
    const bool escaped = point.taken == 0 && rest[0] >= kEscape + 0x80 && rest[0] <= kEscape + 0xFF;
    char bytes[4] = {static_cast<char>(rest[0] & 0xFF)};
    const std::size_t count = escaped ? 1 : point.taken == 0 ? 0 : encode_utf8(point.value, bytes);
    if (count == 0 || used + count >= size) break;
    std::copy_n(bytes, count, buffer + used);
    used += count;
    rest.remove_prefix(escaped ? 1 : point.taken);
  }
  buffer[used] = 0;
  return rest.empty();
}

}  // namespace qmsd::platform
