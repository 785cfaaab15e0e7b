// The converters between scalar types and from scalars to text: what an element is read as, what it
// becomes, and the table of both.
#include "variant/element_converter.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "services/text/numbers.h"
#include "variant/conversion_result.h"
#include "variant/element.h"
#include "variant/text_target.h"
#include "variant/time/counts.h"
#include "variant/time/date_time.h"
#include "variant/time/format.h"
#include "variant/types.h"

namespace qmsd {
namespace {

// ---- What an element is read as ----

struct Signed {
  std::int64_t value;
  bool load(const ConversionSource& from) {
    return load_integer(from.element, from.width, true, value);
  }
};

struct Unsigned {
  std::uint64_t value;
  bool load(const ConversionSource& from) {
    std::int64_t bits;
    const bool loaded = load_integer(from.element, from.width, false, bits);
    value = static_cast<std::uint64_t>(bits);
    return loaded;
  }
};

struct Floating {
  double value;
  bool load(const ConversionSource& from) { return load_floating(from.element, from.width, value); }
};

struct Date {
  DateTime value;
  bool load(const ConversionSource& from) {
    if (from.width != sizeof(DateTime)) return false;
    value = DateTime::from_bits(load_as<std::uint64_t>(from.element));
    return true;
  }
};

// ---- Integers ----

constexpr double kTwoTo63 = 9223372036854775808.0;

// Toward zero; what no 64-bit integer holds becomes the smallest one.
std::int64_t truncate(double value) {
  return value >= -kTwoTo63 && value < kTwoTo63 ? static_cast<std::int64_t>(value) : INT64_MIN;
}

std::int64_t as_signed(Signed from) { return from.value; }
std::int64_t as_signed(Unsigned from) { return static_cast<std::int64_t>(from.value); }
std::int64_t as_signed(Floating from) { return truncate(from.value); }
std::int64_t as_signed(Date from) { return milliseconds_since_1970(from.value); }

std::int64_t as_unsigned(Signed from, std::int32_t) { return from.value; }
std::int64_t as_unsigned(Unsigned from, std::int32_t) {
  return static_cast<std::int64_t>(from.value);
}
// Only the full width reaches the upper half of the range, by way of the lower.
std::int64_t as_unsigned(Floating from, std::int32_t width) {
  const bool upper_half = from.value >= kTwoTo63 && from.value < 2 * kTwoTo63;
  if (width != 8 || !upper_half) return truncate(from.value);
  return std::bit_cast<std::int64_t>(static_cast<std::uint64_t>(truncate(from.value - kTwoTo63)) |
                                     std::uint64_t{1} << 63);
}
std::int64_t as_unsigned(Date from, std::int32_t) {
  return static_cast<std::int64_t>(unsigned_milliseconds_since_1970(from.value));
}

// ---- Floating values and date-times ----

double as_floating(Signed from) { return static_cast<double>(from.value); }
// In halves: a 32-bit build sends a whole value through the x87 unit, and how precisely that one
// computes is up to the host.
double as_floating(Unsigned from) {
  const auto upper = static_cast<std::uint32_t>(from.value >> 32);
  const auto lower = static_cast<std::uint32_t>(from.value);
  return upper * 0x1p32 + lower;
}
double as_floating(Floating from) { return from.value; }
double as_floating(Date from) { return day_number(from.value); }

DateTime as_date(Signed from) { return date_time_from_milliseconds(from.value); }
DateTime as_date(Unsigned from) { return date_time_from_milliseconds(from.value); }
DateTime as_date(Floating from) { return date_time_from_day_number(from.value); }
DateTime as_date(Date from) { return from.value; }

// ---- Text ----

PrintedNumber print(Signed from) { return print_signed(from.value); }
PrintedNumber print(Unsigned from) { return print_unsigned(from.value); }
PrintedNumber print(Floating from) { return print_floating(from.value); }

class DateText {
 public:
  explicit DateText(DateTime value) : length_(print_date_time(value, text_)) {}
  std::string_view view() const { return {text_, length_}; }

 private:
  char text_[kDefaultFormSize];
  std::size_t length_;
};
DateText print(Date from) { return DateText(from.value); }

// ---- Converting one element ----

enum class To { signed_integer, unsigned_integer, floating, date, text, wide_text };

template <To Wanted, class From>
bool store(From from, void* to, std::int32_t width) {
  if constexpr (Wanted == To::signed_integer) {
    return store_integer(to, width, as_signed(from));
  } else if constexpr (Wanted == To::unsigned_integer) {
    return store_integer(to, width, as_unsigned(from, width));
  } else if constexpr (Wanted == To::floating) {
    return store_floating(to, width, as_floating(from));
  } else {
    const auto bits = std::bit_cast<std::int64_t>(as_date(from).bits());
    return width == sizeof bits && store_integer(to, width, bits);
  }
}

template <To Wanted, class From>
std::int32_t write(From from, const ConversionTarget& target, std::int32_t width) {
  if constexpr (Wanted == To::text) {
    // A number may fill its width; a date-time has its terminator within.
    const std::int32_t room = std::is_same_v<From, Date> ? width - 1 : width;
    const auto printed = print(from);
    return write_counted(static_cast<char*>(target.buffer), target.capacity, width,
                         printed.view().substr(0, static_cast<std::size_t>(room)));
  } else if constexpr (Wanted == To::wide_text) {
    if (target.capacity < static_cast<std::int32_t>(sizeof(qm_wchar))) {
      return refuse_conversion(QM_W("(tgtlen)"));
    }
    return write_wide(static_cast<qm_wchar*>(target.buffer), target.capacity, print(from).view());
  } else {
    return store<Wanted>(from, target.buffer, width) ? width : refuse_conversion(QM_W("(tgtlen)"));
  }
}

template <class From, To Wanted>
std::int32_t convert(const ConversionTarget& target, const ConversionSource& source) {
  const std::int32_t width = std::min(target.capacity, target.width);
  if (target.capacity < 1 || source.width == 0 || width == 0) return 0;
  if (width < 0) return refuse_conversion(QM_W("(tgtlen)"));
  From from;
  if (!from.load(source)) return refuse_conversion(QM_W("(srclen)"));
  return write<Wanted>(from, target, width);
}

// One row per source type, one column per target type.
template <class From>
constexpr ElementConverter kRow[] = {
    convert<From, To::signed_integer>, convert<From, To::unsigned_integer>,
    convert<From, To::floating>,       convert<From, To::date>,
    convert<From, To::text>,           convert<From, To::wide_text>,
};
constexpr const ElementConverter* kMatrix[] = {kRow<Signed>, kRow<Unsigned>, kRow<Floating>,
                                               kRow<Date>};

int column_of(std::int32_t type) {
  switch (kind_of(type)) {
    case Kind::scalar:
      return type - QM_TYPE_SIGNED;
    case Kind::text:
      return static_cast<int>(To::text);
    case Kind::wide_text:
      return static_cast<int>(To::wide_text);
    default:
      return -1;
  }
}

}  // namespace

ElementConverter element_converter(std::int32_t from, std::int32_t to) {
  const int column = column_of(to);
  if (kind_of(from) != Kind::scalar || column < 0) return nullptr;
  return kMatrix[from - QM_TYPE_SIGNED][column];
}

}  // namespace qmsd
