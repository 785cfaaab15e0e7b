// How variants are set without a change of their type.
#pragma once

#include <qmsd7.h>

#include <array>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>

#include <qm/variant.hpp>
#include <qm/variant_reading.hpp>

namespace qm {

namespace detail {

// The type to read a value back as.
template <class T>
auto comparable(const T& value) {
  if constexpr (TextLike<T>) {
    return WideString(Text(value).view());
  } else if constexpr (std::convertible_to<const T&, TimePoint>) {
    return TimePoint(value);
  } else {
    return value;
  }
}

}  // namespace detail

// The value as the kernel converts it to this variant's type and size.
template <class T>
Result<detail::RawValue> Variant::as_own_type(const T& value) const {
  const auto known = try_info();
  if (!known) return known.error();
  const Result<Variant> source = try_create(kernel(), value);
  if (!source) return source.error();
  const auto text_of = [&]<class String>(const String& text) {
    return detail::RawValue(known->type, text.size() + 1,
                            std::as_bytes(std::span(text.c_str(), text.size() + 1)));
  };
  switch (known->type) {
    case QM_TYPE_SIGNED:
    case QM_TYPE_UNSIGNED:
    case QM_TYPE_FLOATING:
    case QM_TYPE_DATETIME: {
      std::array<std::byte, 8> number{};
      const auto size = static_cast<std::size_t>(known->size);
      return source->convert_into(known->type, size, number.data()).transform([&](std::int32_t) {
        return detail::RawValue(known->type, size, number);
      });
    }
    case QM_TYPE_TEXT:
      return source->convert_sequence<std::string>(QM_TYPE_TEXT).transform(text_of);
    case QM_TYPE_WIDE_TEXT:
      return source->try_convert<WideString>().transform(text_of);
    default:
      return detail::other_kind(*known, "number, date-time or text");
  }
}

template <class T>
Result<void> Variant::try_set(const T& value) {
  const auto converted = as_own_type(value);
  if (!converted) return converted.error();
  const Result<Variant> trial = try_create(kernel(), converted->value());
  if (!trial) return trial.error();
  const auto expected = detail::comparable(value);
  const auto kept = trial->try_as<std::remove_const_t<decltype(expected)>>();
  if (!kept) return kept.error();
  if (detail::is_same(*kept, expected)) return try_assign(converted->value());
  return trial->try_convert<std::string>().and_then([](const std::string& text) -> Result<void> {
    return Error(QM_ERROR_RANGE, "the variant would hold '" + text + "' instead");
  });
}

template <class T>
Result<void> Variant::try_set_converted(const T& value) {
  return as_own_type(value).and_then(
      [this](const detail::RawValue& converted) { return try_assign(converted.value()); });
}

}  // namespace qm
