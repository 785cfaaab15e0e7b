#include "platform/linux/utf8.h"

#include <algorithm>
#include <string_view>

#include "platform/linux/utf16.h"

namespace qmsd::platform {
namespace {

constexpr qm_wchar kEscape = 0xDC00;  // plus the byte

struct Decoded {
  char32_t point;
  std::size_t bytes;  // 0: no UTF-8
};

bool is_trail(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The text is terminated, so a sequence that is cut off ends at a byte that is no trail byte.
Decoded decode(const char* text) {
  const auto lead = static_cast<unsigned char>(*text);
  if (lead < 0x80) return {lead, 1};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return {0, 0};
  char32_t point = lead & (0x7F >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    const auto trail = static_cast<unsigned char>(text[i]);
    if (!is_trail(trail)) return {0, 0};
    point = point << 6 | (trail & 0x3F);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  qm_wchar units[2];
  const bool valid = point >= kLeast[bytes] && encode_utf16(point, units) != 0;
  return valid ? Decoded{point, bytes} : Decoded{0, 0};
}

std::size_t encode(char32_t point, char (&bytes)[4]) {
  if (point < 0x80) {
    bytes[0] = static_cast<char>(point);
    return 1;
  }
  const std::size_t count = point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
  for (std::size_t i = count; --i > 0; point >>= 6) {
    bytes[i] = static_cast<char>(0x80 | (point & 0x3F));
  }
  bytes[0] = static_cast<char>((0xF00 >> count & 0xFF) | point);
  return count;
}

}  // namespace

bool widen_utf8(const char* text, qm_wchar* buffer, std::size_t length) noexcept {
  std::size_t used = 0;
  bool fits = true;
  while (fits && *text != 0) {
    const Decoded decoded = decode(text);
    qm_wchar units[2] = {static_cast<qm_wchar>(kEscape + static_cast<unsigned char>(*text)), 0};
    const std::size_t count = decoded.bytes == 0 ? 1 : encode_utf16(decoded.point, units);
    fits = used + count < length;
    if (!fits) break;
    std::copy_n(units, count, buffer + used);
    used += count;
    text += std::max<std::size_t>(decoded.bytes, 1);
  }
  buffer[used] = 0;
  return fits;
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
    const CodePoint point = decode_utf16(rest.data(), rest.size());
    const bool escaped = point.units == 0 && rest[0] >= kEscape + 0x80 && rest[0] <= kEscape + 0xFF;
    char bytes[4] = {static_cast<char>(rest[0] & 0xFF)};
    const std::size_t count = escaped ? 1 : point.units == 0 ? 0 : encode(point.value, bytes);
    if (count == 0 || used + count >= size) break;
    std::copy_n(bytes, count, buffer + used);
    used += count;
    rest.remove_prefix(escaped ? 1 : point.units);
  }
  buffer[used] = 0;
  return rest.empty();
}

}  // namespace qmsd::platform
