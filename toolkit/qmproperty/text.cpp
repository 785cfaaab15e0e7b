// Conversions between UTF-8, UTF-16 and the runtime's narrow text, character by character.
#include "toolkit/qmproperty/text.h"

#include <algorithm>
#include <cstddef>

#include "toolkit/qmproperty/system.h"

namespace qmproperty {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool is_high_surrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool is_low_surrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void append_utf8(std::string& text, char32_t character) {
  const auto byte = [&](char32_t bits) { text.push_back(static_cast<char>(bits)); };
  const auto tail = [&](unsigned shift) { byte(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) {
    byte(character);
  } else if (character < 0x800) {
    byte(0xC0 | (character >> 6));
    tail(0);
  } else if (character < 0x10000) {
    byte(0xE0 | (character >> 12));
    tail(6), tail(0);
  } else {
    byte(0xF0 | (character >> 18));
    tail(12), tail(6), tail(0);
  }
}

// Takes the first character off well-formed UTF-8 that is not empty.
char32_t take_character(std::string_view& utf8) {
  const auto lead = static_cast<unsigned char>(utf8.front());
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t character = length == 1 ? lead : lead & (0x7FU >> length);
  for (const char next : utf8.substr(1, length - 1)) {
    character = (character << 6) | (static_cast<unsigned char>(next) & 0x3F);
  }
  utf8.remove_prefix(std::min(length, utf8.size()));
  return character;
}

// What one character becomes in a caller's text; none when it cannot be converted.
template <class Char>
struct Encoded {
  Char units[16];
  std::size_t count;
};

void encode(char32_t character, Encoded<qm_wchar>& out) {
  if (character < 0x10000) {
    out.units[0] = static_cast<qm_wchar>(character);
    out.count = 1;
  } else {
    out.units[0] = static_cast<qm_wchar>(0xD800 + ((character - 0x10000) >> 10));
    out.units[1] = static_cast<qm_wchar>(0xDC00 + ((character - 0x10000) & 0x3FF));
    out.count = 2;
  }
}

void encode(char32_t character, Encoded<char>& out) {
  out.count = encode_character(character, out.units);
}

// Takes characters off `utf8` while they can be converted and fit; returns the units written.
template <class Char>
std::size_t convert(std::string_view& utf8, Char* buffer, std::size_t room) {
  std::size_t used = 0;
  while (!utf8.empty()) {
    std::string_view rest = utf8;
    Encoded<Char> encoded;
    encode(take_character(rest), encoded);
    if (encoded.count == 0 || encoded.count > room - used) break;
    std::copy_n(encoded.units, encoded.count, buffer + used);
    used += encoded.count;
    utf8 = rest;
  }
  return used;
}

template <class Char>
void copy_all(std::string_view utf8, Char* buffer, std::int32_t length) {
  buffer[convert(utf8, buffer, static_cast<std::size_t>(length) - 1)] = 0;
}

template <class Char>
void copy_whole_lines(std::string_view utf8, Char* buffer, std::int32_t length) {
  const std::size_t room = static_cast<std::size_t>(length) - 1;
  std::size_t used = 0;
  while (!utf8.empty()) {
    std::string_view line = utf8.substr(0, utf8.find('\n') + 1);
    utf8.remove_prefix(line.size());
    const std::size_t made = convert(line, buffer + used, room - used);
    if (line.empty()) used += made;
  }
  buffer[used] = 0;
}

}  // namespace

std::string to_utf8(const qm_wchar* text) {
  std::string utf8;
  for (; *text != 0; ++text) {
    char32_t character = *text;
    if (is_high_surrogate(character) && is_low_surrogate(text[1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (text[1] - 0xDC00U);
      ++text;
    } else if (is_high_surrogate(character) || is_low_surrogate(character)) {
      character = kReplacement;
    }
    append_utf8(utf8, character);
  }
  return utf8;
}

std::string to_utf8(const char* text) {
  std::string utf8;
  std::string_view rest(text);
  while (!rest.empty()) {
    char32_t character = 0;
    const std::size_t taken = decode_character(rest, character);
    if (taken == 0) break;
    append_utf8(utf8, character);
    rest.remove_prefix(taken);
  }
  return utf8;
}

std::basic_string<qm_wchar> to_wide(std::string_view utf8) {
  std::basic_string<qm_wchar> wide;
  while (!utf8.empty()) {
    Encoded<qm_wchar> encoded;
    encode(take_character(utf8), encoded);
    wide.append(encoded.units, encoded.count);
  }
  return wide;
}

void copy_text(std::string_view utf8, qm_wchar* buffer, std::int32_t length) {
  copy_all(utf8, buffer, length);
}

void copy_text(std::string_view utf8, char* buffer, std::int32_t length) {
  copy_all(utf8, buffer, length);
}

void copy_lines(std::string_view utf8, qm_wchar* buffer, std::int32_t length) {
  copy_whole_lines(utf8, buffer, length);
}

void copy_lines(std::string_view utf8, char* buffer, std::int32_t length) {
  copy_whole_lines(utf8, buffer, length);
}

}  // namespace qmproperty
