// Elements of arrays, read and written so that nothing is lost.
#pragma once

#include <qmsd7.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include <qm/exact.hpp>
#include <qm/variant.hpp>

namespace qm {

namespace detail {

// Through a type that holds whatever the array does.
template <Number Wide, Number T>
Result<void> read_through(const Variant& array, std::int32_t first, std::span<T> into) {
  std::vector<Wide> elements(into.size());
  const auto done = array.try_read_converted(first, std::span(elements));
  if (!done) return done.error();
  for (const Wide element : elements) {
    if (const auto exact = exactly<T>(element); !exact) return exact.error();
  }
  std::ranges::transform(elements, into.begin(), [](Wide each) { return static_cast<T>(each); });
  return {};
}

template <Element T>
Result<void> read_exactly(const Variant& array, const VariantInfo& info, std::int32_t first,
                          std::span<T> into) {
  if (info.is_array_of<T>()) return array.try_read_converted(first, into);
  if constexpr (Number<T>) {
    switch (info.type) {
      case QM_TYPE_SIGNED_ARRAY:
        return read_through<std::int64_t>(array, first, into);
      case QM_TYPE_UNSIGNED_ARRAY:
        return read_through<std::uint64_t>(array, first, into);
      case QM_TYPE_FLOATING_ARRAY:
        return read_through<double>(array, first, into);
      default:
        break;
    }
  }
  return other_kind(info, Number<T> ? "array of numbers" : "array of date-times");
}

// Do the elements read back from an array of this kind as they are?
template <Element T>
Result<void> check_elements(Kernel kernel, const VariantInfo& info, std::span<const T> elements) {
  const auto width = static_cast<std::size_t>(info.size);
  const std::vector<std::byte> zeros(elements.size() * width);
  auto scratch =
      Variant::try_create(kernel, Value::raw(info.type, width, elements.size(), zeros.data()));
  if (!scratch) return scratch.error();
  std::vector<T> back(elements.size());
  const auto done = scratch->try_write_converted(0, elements).and_then([&] {
    return read_exactly(*scratch, info, 0, std::span(back));
  });
  if (!done) return done.error();
  const auto same = [](const T& one, const T& other) { return is_same(one, other); };
  if (std::ranges::equal(elements, back, same)) return {};
  return Error(QM_ERROR_RANGE, "an element does not fit the array");
}

}  // namespace detail

template <Element T, std::size_t Extent>
Result<void> Variant::try_read(std::int32_t first, std::span<T, Extent> into) const {
  return try_info().and_then([&](const VariantInfo& known) {
    return detail::read_exactly(*this, known, first, std::span<T>(into));
  });
}

template <class T, std::size_t Extent>
Result<void> Variant::try_write(std::int32_t first, std::span<T, Extent> from) {
  using Plain = std::remove_const_t<T>;
  const auto known = try_info();
  if (!known) return known.error();
  if (!from.empty() && !known->is_array_of<Plain>()) {
    const auto fit = detail::check_elements(kernel(), *known, std::span<const Plain>(from));
    if (!fit) return fit.error();
  }
  return try_write_converted(first, from);
}

}  // namespace qm
