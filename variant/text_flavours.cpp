// Text that may be a number or a date-time, and UTF-8.
#include "variant/text_flavours.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "platform/unicode.h"
#include "services/text/digits.h"
#include "services/text/numbers.h"
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

// Whether single precision keeps the value well enough: the bits that it drops are all equal, apart
// from the lowest two.
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

}  // namespace

std::optional<RecognisedScalar> recognise_scalar(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (const auto integer = recognise_integer(text)) return integer;
  if (const auto floating = recognise_floating(text)) return floating;
  return recognise_time(text);
}

std::optional<std::size_t> utf16_from_utf8(std::string_view bytes, qm_wchar* units) {
  std::size_t count = 0;
  while (!bytes.empty()) {
    const platform::CodePoint point = platform::decode_utf8(bytes);
    if (point.taken == 0) return std::nullopt;
    qm_wchar encoded[2];
    const std::size_t made = platform::encode_utf16(point.value, encoded);
    if (units != nullptr) std::copy_n(encoded, made, units + count);
    count += made;
    bytes.remove_prefix(point.taken);
  }
  return count;
}

}  // namespace qmsd
