// Any format, any 64 bits and any capacity through the printer: it stays in its buffer, terminates
// what it writes, and cuts what does not fit without changing what does.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "variant/time/format.h"

using namespace qmsd;

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

// In a buffer of exactly that size, whose end the sanitizer guards.
template <class Print>
std::string printed(std::size_t capacity, Print print) {
  std::string buffer(capacity, '#');
  const std::size_t written = print(std::span<char>(buffer));
  require(written == 0 || written < capacity);
  require(capacity == 0 || buffer[written] == '\0');
  require(capacity == 0 || buffer.find_first_not_of('#', written + 1) == buffer.npos);
  return buffer.substr(0, written);
}

template <class Print>
void check_cutting(std::size_t capacity, std::size_t room, Print print) {
  const std::string whole = printed(room, print);
  require(printed(capacity, print) == whole.substr(0, capacity == 0 ? 0 : capacity - 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::uint64_t bits = 0;
  if (size < sizeof bits + 2) return 0;
  std::memcpy(&bits, data, sizeof bits);
  const std::size_t capacity = data[sizeof bits];
  const char fill = static_cast<char>(data[sizeof bits + 1]);
  const std::string format(data + sizeof bits + 2, data + size);
  const DateTime value = DateTime::from_bits(bits);

  constexpr std::size_t kLongestConversion = 9;
  check_cutting(capacity, kLongestConversion * format.size() + 1, [&](std::span<char> buffer) {
    return format_date_time(value, format, buffer, fill);
  });
  const auto print_default = [value](std::span<char> buffer) {
    return print_date_time(value, buffer);
  };
  check_cutting(capacity, kDefaultFormSize, print_default);
  require(printed(kDefaultFormSize, print_default) ==
          printed(kDefaultFormSize, [value](std::span<char> buffer) {
            return format_date_time(value, default_form(value), buffer);
          }));
  return 0;
}
