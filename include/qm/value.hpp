// What a variant is to hold: C++ values as the kernel's types.
#pragma once

#include <qmsd7.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ranges>
#include <string>
#include <type_traits>
#include <utility>

#include <qm/date_time.hpp>
#include <qm/text.hpp>

namespace qm {

/// Integers of 1 to 8 bytes with or without sign. Characters and truth values are none.
template <class T>
concept Integer = std::same_as<T, signed char> || std::same_as<T, unsigned char> ||
    std::same_as<T, short> || std::same_as<T, unsigned short> || std::same_as<T, int> ||
    std::same_as<T, unsigned> || std::same_as<T, long> || std::same_as<T, unsigned long> ||
    std::same_as<T, long long> || std::same_as<T, unsigned long long>;

template <class T>
concept Floating = std::same_as<T, float> || std::same_as<T, double>;

template <class T>
concept Number = Integer<T> || Floating<T>;

/// What arrays consist of.
template <class T>
concept Element = Number<T> || std::same_as<T, DateTime>;

/// The kernel's type code for single values of T; that of an array is 64 more.
/// Owner: of nothing. Errors: none. Threads: any.
///
///     static_assert(qm::type_of<short> == QM_TYPE_SIGNED);
///     static_assert(qm::type_of<float> == QM_TYPE_FLOATING);
///     check(qm::type_of<qm::DateTime> == QM_TYPE_DATETIME);
template <Element T>
inline constexpr std::int32_t type_of = std::same_as<T, DateTime> ? QM_TYPE_DATETIME
                                        : Floating<T>             ? QM_TYPE_FLOATING
                                        : std::is_signed_v<T>     ? QM_TYPE_SIGNED
                                                                  : QM_TYPE_UNSIGNED;

/// An object that lives in a module, and the module's codes that take a reference on it and give it
/// back; the kernel calls them when a variant with the object is made, copied and destroyed. An
/// empty module name is the kernel. The codes cannot be read back.
struct ObjectReference {
  std::uint32_t value = 0;
  WideString module;
  std::uint32_t take = 0;
  std::uint32_t give_back = 0;

  friend bool operator==(const ObjectReference&, const ObjectReference&) = default;
};

namespace detail {

inline constexpr std::int32_t kArray = QM_TYPE_EMPTY_ARRAY;  // an array's type less its elements'

template <class T>
concept TextLike = std::constructible_from<Text, const T&>;

template <class T>
concept Bytes = std::ranges::contiguous_range<T> && std::ranges::sized_range<T> &&
    std::same_as<std::ranges::range_value_t<T>, std::byte>;

template <class T>
concept Elements = std::ranges::contiguous_range<T> && std::ranges::sized_range<T> &&
    Element<std::ranges::range_value_t<T>> && !TextLike<T>;

}  // namespace detail

/// An argument: what a variant is to hold. It is made, without being asked, from numbers, truth
/// values (as 0 and 1), text in UTF-8 or UTF-16, date-times, instants and dates of std::chrono,
/// contiguous ranges of numbers or date-times (arrays) and of std::byte (binary values).
/// Owner: ranges are borrowed until the call returns, all else is copied. Errors: 34 for an
/// instant or date that the kernel has no value for, std::bad_alloc; sizes beyond 2 GB are refused
/// by the call. Threads: for one call.
///
///     const double measured[] = {1.5, 2.5};
///     check(qm::Variant::create(kernel, measured).type() == QM_TYPE_FLOATING_ARRAY);
///     check(qm::Variant::create(kernel, "caf\xC3\xA9").type() == QM_TYPE_WIDE_TEXT);
///     check(qm::Variant::create(kernel, std::uint8_t{7}).type() == QM_TYPE_UNSIGNED);
class Value {
 public:
  /// Nothing; a container, to be filled with items; text that may turn out to be a number or a
  /// date-time; or what the kernel's type codes say, with data that is borrowed.
  /// Owner: recognised() copies its text, raw() borrows its data. Errors: recognised():
  /// std::bad_alloc. Threads: any.
  ///
  ///     check(qm::Variant::create(kernel, qm::Value()).type() == QM_TYPE_EMPTY);
  ///     check(qm::Variant::create(kernel, qm::Value::container()).items().empty());
  ///     const auto number = qm::Variant::create(kernel, qm::Value::recognised("42"));
  ///     check(number.type() == QM_TYPE_SIGNED);
  Value() = default;
  static Value container() noexcept { return Value(QM_TYPE_CONTAINER, 0, 0, nullptr); }
  static Value recognised(Text text) {
    return Value(std::move(text), std::int32_t{QM_TYPE_WIDE_TEXT_AUTO});
  }
  static Value raw(std::int32_t type, std::size_t size, std::size_t count,
                   const void* data) noexcept {
    return Value(type, size, count, data);
  }

  template <Element T>
  Value(T number) noexcept : type_(type_of<T>), size_(sizeof(T)), count_(1) {
    std::memcpy(scalar_.data(), &number, sizeof number);
    data_ = scalar_.data();
  }
  template <std::same_as<bool> Bool>
  Value(Bool truth) noexcept : Value(static_cast<std::uint8_t>(truth)) {}
  template <class Duration>
  Value(std::chrono::sys_time<Duration> instant) : Value(DateTime::from(instant)) {}
  Value(std::chrono::year_month_day date) : Value(DateTime::from(date)) {}
  template <detail::TextLike T>
  Value(const T& text) : Value(Text(text), std::int32_t{QM_TYPE_WIDE_TEXT}) {}
  Value(Text text) : Value(std::move(text), std::int32_t{QM_TYPE_WIDE_TEXT}) {}
  template <detail::Elements Range>
  Value(const Range& elements) noexcept
      : Value(type_of<std::ranges::range_value_t<Range>> + detail::kArray,
              sizeof(std::ranges::range_value_t<Range>), std::ranges::size(elements),
              std::ranges::data(elements)) {}
  template <detail::Bytes Range>
  Value(const Range& bytes) noexcept
      : Value(QM_TYPE_BINARY, std::ranges::size(bytes), 1, std::ranges::data(bytes)) {
    if (!data_) data_ = scalar_.data();  // even no bytes have an address
  }
  Value(const ObjectReference& object)
      : type_(QM_TYPE_OBJECT), size_(4), count_(1), text_(WideString(object.module)) {
    object_ = {object.value, text_.c_str(), {object.take, object.give_back, 0, 0}};
    data_ = &object_;
  }

  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;

  /// What the kernel is told: type, size of an element or of the text, number of elements, data.
  /// Owner: this Value, or whoever lent it the data. Errors: none. Threads: any.
  ///
  ///     const qm::Value value = std::int16_t{5};
  ///     check(value.type() == QM_TYPE_SIGNED && value.size() == 2 && value.count() == 1);
  std::int32_t type() const noexcept { return type_; }
  std::size_t size() const noexcept { return size_; }
  std::size_t count() const noexcept { return count_; }
  const void* data() const noexcept { return count_ != 0 ? data_ : nullptr; }

 private:
  Value(std::int32_t type, std::size_t size, std::size_t count, const void* data) noexcept
      : type_(type), size_(size), count_(count), data_(data) {}
  Value(Text text, std::int32_t type)
      : type_(type), size_(text.view().size() + 1), count_(1), text_(std::move(text)) {
    data_ = text_.c_str();
  }

  std::int32_t type_ = QM_TYPE_EMPTY;
  std::size_t size_ = 0;
  std::size_t count_ = 0;
  const void* data_ = nullptr;
  alignas(8) std::array<std::byte, 8> scalar_{};
  qm_object_data object_{};
  Text text_ = WideString();
};

}  // namespace qm
