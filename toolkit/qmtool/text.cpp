#include "toolkit/qmtool/text.h"

#include <algorithm>
#include <charconv>

namespace qmtool {

std::string utf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

std::filesystem::path path_of(std::string_view utf8) {
  return std::u8string(utf8.begin(), utf8.end());
}

std::string lower_case(std::string_view ascii) {
  std::string text(ascii);
  std::ranges::transform(text, text.begin(), [](char unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
  });
  return text;
}

std::optional<std::int64_t> parse_number(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (is_hexadecimal) text.remove_prefix(2);
  if (text.empty() || text.front() == '-') return std::nullopt;
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number, is_hexadecimal ? 16 : 10);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return negative ? -number : number;
}

std::optional<NumberRange> parse_range(std::string_view text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = parse_number(text.substr(0, dash));
  const auto last = parse_number(text.substr(dash + 1));
  if (!first || !last || *first < 0 || *last < *first || *last >= 0xFFFFFFFF) return std::nullopt;
  return NumberRange{static_cast<std::uint32_t>(*first), static_cast<std::uint32_t>(*last)};
}

std::string hexadecimal(std::uint64_t number, int digits) {
  std::string text = "0x";
  for (int shift = 4 * digits - 4; shift >= 0; shift -= 4) {
    text += "0123456789abcdef"[number >> shift & 0xF];
  }
  return text;
}

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

}  // namespace qmtool
