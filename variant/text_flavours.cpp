// Text that may be a number or a date-time, and UTF-8.
#include "variant/text_flavours.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "services/text/numbers.h"
#include "variant/time/digits.h"
#include "variant/time/recognise.h"
#include "variant/time/zone.h"

namespace qmsd {
namespace {

std::optional<RecognisedScalar> recognise_integer(std::string_view text) {
  const IntegerReading reading = read_integer(text);
  // The limits themselves are refused, too: readings that overflow look like them.
  const bool at_limit = reading.value == INT64_MAX || reading.value == INT64_MIN;
  if (reading.consumed != text.size() || at_limit) return std::nullopt;
  // One short of the 32-bit range at either end.
  const bool is_small = reading.value > INT32_MIN && reading.value < INT32_MAX;
  return RecognisedScalar{QM_TYPE_SIGNED, is_small ? 4 : 8, reading.value};
}

// Digits of the first run, which may hold one decimal point.
std::size_t leading_digits(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && !is_digit(text[at])) ++at;
  std::size_t digits = 0;
  bool has_point = false;
  for (; at < text.size(); ++at) {
    if (is_digit(text[at])) {
      ++digits;
    } else if (text[at] == '.' && !has_point) {
      has_point = true;
    } else {
      break;
    }
  }
  return digits;
}

// Would single precision lose nothing of note? The bits below single precision are all alike, the
// lowest two aside.
bool is_single(double value) {
  constexpr double kSmallest = 1.1754943508222875e-38;
  constexpr double kLargest = 3.4028234663852886e38;
  constexpr std::uint64_t kLowestTwo = 3;
  constexpr std::uint64_t kBelowSingle = 0x0FFFFFFC;
  const auto magnitude = std::bit_cast<std::uint64_t>(std::fabs(value));
  if ((magnitude & ~kLowestTwo) == 0) return true;
  const bool in_range = std::fabs(value) >= kSmallest && std::fabs(value) <= kLargest;
  const std::uint64_t below = magnitude & kBelowSingle;
  return in_range && (below == 0 || below == kBelowSingle);
}

std::optional<RecognisedScalar> recognise_floating(std::string_view text) {
  // More digits than a double holds would be changed by reading them.
  constexpr std::size_t kMaxDigits = 15;
  if (leading_digits(text) > kMaxDigits) return std::nullopt;
  const FloatingReading reading = read_floating(text);
  const bool is_number = std::isfinite(reading.value) && !reading.out_of_range;
  if (reading.consumed != text.size() || !is_number) return std::nullopt;
  return RecognisedScalar{QM_TYPE_FLOATING, is_single(reading.value) ? 4 : 8,
                          std::bit_cast<std::int64_t>(reading.value)};
}

std::optional<RecognisedScalar> recognise_time(std::string_view text) {
  const RecognisedTime time = recognise_date_time(text, local_zone_offset());
  if (time.consumed != text.size()) return std::nullopt;
  return RecognisedScalar{QM_TYPE_DATETIME, 8, std::bit_cast<std::int64_t>(time.value.bits())};
}

// What a lead byte announces: how many bytes follow, its own bits, and the smallest code point that
// may be written so.
struct Lead {
  int following;
  char32_t bits;
  char32_t smallest;
};

std::optional<Lead> lead_of(std::uint8_t byte) {
  if (byte < 0x80) return Lead{0, byte, 0};
  if (byte >= 0xC0 && byte < 0xE0) return Lead{1, char32_t(byte & 0x1F), 0x80};
  if (byte >= 0xE0 && byte < 0xF0) return Lead{2, char32_t(byte & 0x0F), 0x800};
  if (byte >= 0xF0 && byte < 0xF8) return Lead{3, char32_t(byte & 0x07), 0x10000};
  return std::nullopt;
}

// Takes one code point from the front of the text.
std::optional<char32_t> take_code_point(std::string_view& bytes) {
  const auto lead = lead_of(static_cast<std::uint8_t>(bytes[0]));
  if (!lead || bytes.size() <= static_cast<std::size_t>(lead->following)) return std::nullopt;
  char32_t code = lead->bits;
  for (int at = 1; at <= lead->following; ++at) {
    const auto byte = static_cast<std::uint8_t>(bytes[static_cast<std::size_t>(at)]);
    if ((byte & 0xC0) != 0x80) return std::nullopt;
    code = code << 6 | (byte & 0x3F);
  }
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < lead->smallest || is_surrogate || code > 0x10FFFF) return std::nullopt;
  bytes.remove_prefix(static_cast<std::size_t>(lead->following) + 1);
  return code;
}

}  // namespace

std::optional<RecognisedScalar> recognise_scalar(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (const auto integer = recognise_integer(text)) return integer;
  if (const auto floating = recognise_floating(text)) return floating;
  return recognise_time(text);
}

std::optional<std::size_t> decode_utf8(std::string_view bytes, qm_wchar* units) {
  std::size_t count = 0;
  const auto put = [&count, units](char32_t unit) {
    if (units != nullptr) units[count] = static_cast<qm_wchar>(unit);
    ++count;
  };
  while (!bytes.empty()) {
    const auto code = take_code_point(bytes);
    if (!code) return std::nullopt;
    if (*code < 0x10000) {
      put(*code);
    } else {
      put(0xD800 + ((*code - 0x10000) >> 10));
      put(0xDC00 + (*code & 0x3FF));
    }
  }
  return count;
}

}  // namespace qmsd
