// Any bytes through the readers of numbers, and any 64 bits through the printers and back.
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "services/text/numbers.h"

using namespace qmsd;

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

template <class Reading>
void check_prefix(Reading (*read)(std::string_view) noexcept, const std::string& text) {
  const Reading whole = read(text);
  require(whole.consumed <= text.size());
  require(whole.consumed != 0 || whole.value == 0);
  const Reading prefix = read(text.substr(0, whole.consumed));
  require(prefix.consumed == whole.consumed);
  require(std::memcmp(&prefix.value, &whole.value, sizeof whole.value) == 0);
}

void check_printing(std::uint64_t bits) {
  const auto number = static_cast<std::int64_t>(bits);
  require(read_decimal(print_signed(number).view()).value == number);
  require(print_unsigned(bits).length <= 20);

  const auto floating = std::bit_cast<double>(bits);
  const PrintedNumber printed = print_floating(floating);
  require(printed.length > 0 && printed.length < sizeof printed.text);
  if (!std::isfinite(floating)) return;
  const FloatingReading back = read_floating(printed.view());
  require(back.consumed == printed.length);
  // Six digits; the smallest numbers have fewer.
  require(std::isinf(back.value) ||
          std::fabs(back.value - floating) <= std::fabs(floating) * 5.1e-6 + 5e-324);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  check_prefix(read_integer, text);
  check_prefix(read_decimal, text);
  check_prefix(read_floating, text);
  std::uint64_t bits = 0;
  std::memcpy(&bits, data, size < sizeof bits ? size : sizeof bits);
  check_printing(bits);
  return 0;
}
