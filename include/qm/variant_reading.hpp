// How variants are read: as the kernel converts them, and checked so that nothing is lost.
#pragma once

#include <qmsd7.h>

#include <bit>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <qm/exact.hpp>
#include <qm/variant.hpp>
#include <qm/variant_arrays.hpp>

namespace qm {

namespace detail {

template <class T>
inline constexpr bool kIsVectorOfElements = false;
template <Element T>
inline constexpr bool kIsVectorOfElements<std::vector<T>> = true;

// ---- Each kind, read exactly -------------------------------------------------------------------

template <Number T>
Result<T> read_number(const Variant& variant, const VariantInfo& info) {
  switch (info.type) {
    case QM_TYPE_SIGNED:
      return variant.try_convert<std::int64_t>().and_then(exactly<T, std::int64_t>);
    case QM_TYPE_UNSIGNED:
      return variant.try_convert<std::uint64_t>().and_then(exactly<T, std::uint64_t>);
    case QM_TYPE_FLOATING:
      return variant.try_convert<double>().and_then(exactly<T, double>);
    case QM_TYPE_TEXT:
    case QM_TYPE_WIDE_TEXT:
      return variant.try_convert<std::string>().and_then(number_of<T>);
    default:
      return other_kind(info, "number");
  }
}

inline Result<bool> read_truth(const Variant& variant, const VariantInfo& info) {
  return read_number<std::uint8_t>(variant, info).and_then([](std::uint8_t n) -> Result<bool> {
    if (n <= 1) return n == 1;
    return Error(QM_ERROR_RANGE, shown(n) + " is no bool");
  });
}

inline Result<DateTime> read_date_time(const Variant& variant, const VariantInfo& info) {
  if (info.type == QM_TYPE_DATETIME) return variant.try_convert<DateTime>();
  if (info.type != QM_TYPE_TEXT && info.type != QM_TYPE_WIDE_TEXT) {
    return other_kind(info, "date-time");
  }
  const auto text = variant.try_convert<WideString>();
  if (!text) return text.error();
  const auto recognised = Variant::try_create(variant.kernel(), Value::recognised(*text));
  if (!recognised) return recognised.error();
  const auto found = recognised->try_info();
  if (!found) return found.error();
  if (found->type != QM_TYPE_DATETIME) return other_kind(*found, "date-time");
  return recognised->try_convert<DateTime>();
}

// The value as text, if it reads back from that text as it was.
template <class T>
Result<WideString> read_as_text(const Variant& variant) {
  const auto value = variant.try_convert<T>();
  if (!value) return value.error();
  auto text = variant.try_convert<WideString>();
  if (!text) return text;
  const auto back = Variant::try_create(variant.kernel(), *text).and_then([](const Variant& copy) {
    return copy.try_convert<T>();
  });
  if (!back) return back.error();
  if (std::bit_cast<std::uint64_t>(*value) == std::bit_cast<std::uint64_t>(*back)) return text;
  return Error(QM_ERROR_RANGE,
               "the value would read back differently from '" + to_utf8(*text) + "'");
}

inline Result<WideString> read_wide_text(const Variant& variant, const VariantInfo& info) {
  switch (info.type) {
    case QM_TYPE_SIGNED:
    case QM_TYPE_UNSIGNED:
    case QM_TYPE_TEXT:
    case QM_TYPE_WIDE_TEXT:
      return variant.try_convert<WideString>();
    case QM_TYPE_FLOATING:
      return read_as_text<double>(variant);
    case QM_TYPE_DATETIME:
      return read_as_text<DateTime>(variant);
    default:
      return other_kind(info, "text");
  }
}

inline Result<std::string> read_text(const Variant& variant, const VariantInfo& info) {
  return read_wide_text(variant, info).and_then([](const WideString& wide) -> Result<std::string> {
    std::string text = to_utf8(wide);
    if (to_wide(text) == wide) return text;
    return Error(QM_ERROR_RANGE, "the text holds half a surrogate pair, UTF-8 cannot");
  });
}

inline Result<std::chrono::year_month_day> read_date(DateTime date_time) {
  if (const auto date = date_time.date(); date && !date_time.has_time()) return *date;
  return Error(QM_ERROR_ARGUMENT, "the date-time is no date alone");
}

// The name is the variant's own, so it is copied at once.
inline Result<ObjectReference> read_object(const Variant& variant, const VariantInfo& info) {
  if (info.type != QM_TYPE_OBJECT) return other_kind(info, "object reference");
  struct {
    std::uint32_t value;
    const qm_wchar* module;
  } object{};
  qm_variant_convert record{variant.get(), 0, QM_TYPE_OBJECT, sizeof object, 1, &object,
                            sizeof object};
  return variant.kernel().try_call(QM_CALL_VARIANTCONVERT, &record).transform([&](std::int32_t) {
    return ObjectReference{object.value, object.module, 0, 0};
  });
}

template <class T>
Result<T> read(const Variant& variant, const VariantInfo& info) {
  if constexpr (Number<T>) {
    return read_number<T>(variant, info);
  } else if constexpr (std::same_as<T, bool>) {
    return read_truth(variant, info);
  } else if constexpr (std::same_as<T, std::string>) {
    return read_text(variant, info);
  } else if constexpr (std::same_as<T, WideString>) {
    return read_wide_text(variant, info);
  } else if constexpr (std::same_as<T, DateTime>) {
    return read_date_time(variant, info);
  } else if constexpr (std::same_as<T, TimePoint>) {
    return read_date_time(variant, info).and_then(std::mem_fn(&DateTime::try_time_point));
  } else if constexpr (std::same_as<T, std::chrono::year_month_day>) {
    return read_date_time(variant, info).and_then(read_date);
  } else if constexpr (std::same_as<T, ObjectReference>) {
    return read_object(variant, info);
  } else if constexpr (std::same_as<T, std::vector<std::byte>>) {
    if (info.type != QM_TYPE_BINARY) return other_kind(info, "binary value");
    return variant.try_convert<T>();
  } else {
    static_assert(kIsVectorOfElements<T>, "a variant does not read as this type");
    if (!info.is_array()) return other_kind(info, "array");
    T elements(static_cast<std::size_t>(info.count));
    return variant.try_read(0, std::span(elements)).and_then([&] { return Result<T>(elements); });
  }
}

}  // namespace detail

template <class T>
Result<T> Variant::try_as() const {
  return try_info().and_then(
      [this](const VariantInfo& known) { return detail::read<T>(*this, known); });
}

inline Result<std::int32_t> Variant::convert_into(std::int32_t type, std::size_t size,
                                                  void* target) const {
  const auto bytes = static_cast<std::int32_t>(size);
  qm_variant_convert record{get(), 0, type, bytes, 1, target, bytes};
  return try_call_kernel(QM_CALL_VARIANTCONVERT, &record).transform([&](std::int32_t) {
    return record.size;
  });
}

// Converts into more and more room until nothing can have been cut.
template <class Sequence>
Result<Sequence> Variant::convert_sequence(std::int32_t target_type) const {
  using Unit = typename Sequence::value_type;
  constexpr std::size_t kLongestCharacter = 4;  // UTF-8 is cut between characters
  for (Sequence units(256, Unit{});; units.resize(2 * units.size())) {
    const auto written = convert_into(target_type, units.size() * sizeof(Unit), units.data());
    if (!written) return written.error();
    const auto length = static_cast<std::size_t>(*written);
    if (length + kLongestCharacter > units.size()) continue;
    const bool terminated = length != 0 && !std::same_as<Unit, std::byte>;
    units.resize(length - terminated);
    return units;
  }
}

template <class T>
Result<T> Variant::try_convert() const {
  if constexpr (Element<T>) {
    T value{};
    return convert_into(type_of<T>, sizeof value, &value).transform([&](std::int32_t) {
      return value;
    });
  } else if constexpr (std::same_as<T, std::string>) {
    return convert_sequence<T>(QM_TYPE_TEXT_UTF8);
  } else if constexpr (std::same_as<T, WideString>) {
    return convert_sequence<T>(QM_TYPE_WIDE_TEXT);
  } else if constexpr (std::same_as<T, std::vector<std::byte>>) {
    return convert_sequence<T>(QM_TYPE_BINARY);
  } else {
    static_assert(detail::kIsVectorOfElements<T>, "a variant does not convert to this type");
    return try_info().and_then([this](const VariantInfo& known) -> Result<T> {
      if (!known.is_array()) return detail::other_kind(known, "array");
      T elements(static_cast<std::size_t>(known.count));
      return try_read_converted(0, std::span(elements)).and_then([&] {
        return Result<T>(elements);
      });
    });
  }
}

}  // namespace qm
