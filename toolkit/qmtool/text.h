// UTF-8, in which the tool keeps every text, and what texts are turned into.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace qmtool {

std::string utf8(const std::filesystem::path& path);
std::filesystem::path path_of(std::string_view utf8);

std::string lower_case(std::string_view ascii);

// A whole number, decimal or with 0x; none when the text is anything else, or the number too large.
std::optional<std::int64_t> parse_number(std::string_view text);

// "FIRST-LAST", both numbers of 32 bits; the last one is below 0xFFFFFFFF.
struct NumberRange {
  std::uint32_t first;
  std::uint32_t last;
};
std::optional<NumberRange> parse_range(std::string_view text);

// "0x" and so many digits.
std::string hexadecimal(std::uint64_t number, int digits = 8);

// "1 export", "2 exports".
std::string counted(std::size_t count, std::string_view one, std::string_view many);

}  // namespace qmtool
