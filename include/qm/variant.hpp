// Variants: the kernel's typed, named, shared values.
#pragma once

#include <qmsd7.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <qm/owner.hpp>
#include <qm/value.hpp>

namespace qm {

class Children;

namespace detail {

struct VariantPolicy {
  using Raw = qm_variant*;
  static constexpr Raw none = nullptr;
  static constexpr std::string_view name = "Variant";
  static void give_back(Kernel kernel, Raw variant) noexcept {
    kernel.call_raw(0, QM_CALL_VARIANTRELEASE, variant);
  }
};

// A value in the kernel's terms with data of its own.
class RawValue {
 public:
  RawValue(std::int32_t type, std::size_t size, std::span<const std::byte> data)
      : type_(type), size_(size), data_(data.begin(), data.end()) {}

  Value value() const noexcept { return Value::raw(type_, size_, 1, data_.data()); }

 private:
  std::int32_t type_;
  std::size_t size_;
  std::vector<std::byte> data_;
};

}  // namespace detail

/// What the kernel tells about a variant. is_array_of() compares the elements' type and size.
/// Owner: of nothing. Errors: none. Threads: a plain value.
///
///     const short numbers[] = {1, 2, 3};
///     const qm::VariantInfo info = qm::Variant::create(kernel, numbers).info();
///     check(info.count == 3 && info.is_array() && info.is_array_of<short>());
///     check(!info.is_array_of<int>());
struct VariantInfo {
  std::int32_t id = 0;          // the creator's own
  std::int32_t type = 0;        // QM_TYPE_...
  std::int32_t size = 0;        // bytes of a number or element; length of a text with its zero
  std::int32_t count = 0;       // elements of an array, items of a container, otherwise 1 or 0
  std::int32_t attributes = 0;  // number of attributes

  bool is_array() const noexcept {
    return type > QM_TYPE_EMPTY_ARRAY && type <= QM_TYPE_DATETIME_ARRAY;
  }
  template <Element T>
  bool is_array_of() const noexcept {
    return type == type_of<T> + detail::kArray && size == sizeof(T);
  }
};

namespace detail {

inline Error other_kind(const VariantInfo& info, const char* wanted) {
  return Error(QM_ERROR_ARGUMENT,
               "a variant of type " + std::to_string(info.type) + " is no " + wanted);
}

}  // namespace detail

/// A reference to a variant: a value that the kernel keeps for everybody, with a name, an id,
/// attributes and, if it is a container, items. Others may hold references to the same variant and
/// see what is assigned to it.
/// Owner: of one reference. Errors: those of the functions below. Threads: a Variant object is one
/// thread's at a time, the variant behind it everybody's: each call is done as a whole, between two
/// calls others may change it.
///
///     qm::Variant car = qm::Variant::create(kernel, qm::Value(), "car");
///     car.attributes().add("red", "color");
///     car.attributes().add(std::int16_t{120}, "speed");
///     check(car.at("color").as<std::string>() == "red");
///     car.at("speed").assign(std::int16_t{130});
///     check(car.at("speed").as<int>() == 130);
class Variant : public Owner<detail::VariantPolicy> {
 public:
  using Owner::Owner;

  /// A new variant. Without a name it is unnamed, which is not the same as "".
  /// Owner: the result; value and name stay the caller's. Errors: 22 a value that the kernel does
  /// not know, 34 one of more than 2 GB, 12. Threads: any.
  ///
  ///     const qm::Variant speed = qm::Variant::create(kernel, 120, "speed", 7);
  ///     check(speed.as<int>() == 120 && speed.name() == "speed" && speed.info().id == 7);
  static Variant create(Kernel kernel, const Value& value,
                        const std::optional<Text>& name = std::nullopt, std::int32_t id = 0) {
    return try_create(kernel, value, name, id).value();
  }
  static Result<Variant> try_create(Kernel kernel, const Value& value,
                                    const std::optional<Text>& name = std::nullopt,
                                    std::int32_t id = 0) {
    return describe(nullptr, value, name, id).and_then([&](qm_variant_create record) {
      return kernel.try_call(QM_CALL_VARIANTCREATE, &record).transform([&](std::int32_t) {
        return Variant(kernel, record.variant);
      });
    });
  }

  /// One more reference to the same variant.
  /// Owner: the result. Errors: 22 for an empty owner, 14 if the variant is being destroyed.
  /// Threads: any; the way to hand a variant to another thread.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120);
  ///     const qm::Variant same = speed.share();
  ///     speed.assign(130);
  ///     check(same.as<int>() == 130);
  Variant share() const { return try_share().value(); }
  Result<Variant> try_share() const {
    return try_call_kernel(QM_CALL_VARIANTREF, get()).transform([this](std::int32_t) {
      return Variant(kernel(), get());
    });
  }

  /// A deep copy with its own items and attributes; what was one variant inside is one copy.
  /// Owner: the result. Errors: 22 for an empty owner, 12. Threads: any.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120);
  ///     const qm::Variant other = speed.copy();
  ///     speed.assign(130);
  ///     check(other.as<int>() == 120);
  Variant copy() const { return try_copy().value(); }
  Result<Variant> try_copy() const {
    qm_variant_copy record{get(), nullptr};
    return try_call_kernel(QM_CALL_VARIANTCOPY, &record).transform([&](std::int32_t) {
      return Variant(kernel(), record.copy);
    });
  }

  /// Type, size and counts, or the type alone.
  /// Owner: the result is a copy. Errors: 22 for an empty owner. Threads: any.
  ///
  ///     const qm::Variant speed = qm::Variant::create(kernel, std::int16_t{120});
  ///     check(speed.info().size == 2 && speed.type() == QM_TYPE_SIGNED);
  VariantInfo info() const { return try_info().value(); }
  Result<VariantInfo> try_info() const {
    qm_variant_info record{get(), 0, 0, 0, 0, 0};
    return try_call_kernel(QM_CALL_VARIANTINFO, &record).transform([&](std::int32_t) {
      return VariantInfo{record.id, record.type, record.size, record.nitems, record.nattributes};
    });
  }
  std::int32_t type() const { return try_type().value(); }
  Result<std::int32_t> try_type() const {
    return try_info().transform([](const VariantInfo& known) { return known.type; });
  }

  /// The name, in UTF-8 and UTF-16; "" if there is none.
  /// Owner: the result is a copy. Errors: 22 for an empty owner, std::bad_alloc. Threads: any.
  ///
  ///     const qm::Variant speed = qm::Variant::create(kernel, 120, "speed");
  ///     check(speed.name() == "speed" && speed.wide_name() == QM_W("speed"));
  std::string name() const { return to_utf8(wide_name()); }
  WideString wide_name() const { return try_wide_name().value(); }
  Result<std::string> try_name() const {
    return try_wide_name().transform([](const WideString& name) { return to_utf8(name); });
  }
  Result<WideString> try_wide_name() const;

  /// The value as a T, if that loses nothing: an integer, float, double or bool; std::string or
  /// WideString; DateTime, TimePoint or std::chrono::year_month_day; ObjectReference; of arrays a
  /// std::vector of numbers or DateTimes; of binary values std::vector<std::byte>.
  /// Numbers must have exactly the same value in T; text must be a number or date-time as a whole;
  /// numbers and date-times become text only if it reads back as the same. convert() is less
  /// strict.
  /// Owner: the result is a copy. Errors: 22 for an empty owner or a value of another kind, 34 a
  /// value that does not fit T, std::bad_alloc. Threads: any; a value assigned by another thread
  /// while this one reads may be refused.
  ///
  ///     const qm::Variant value = qm::Variant::create(kernel, 300);
  ///     check(value.as<std::int16_t>() == 300 && value.as<std::string>() == "300");
  ///     check(value.try_as<std::int8_t>().error().code() == QM_ERROR_RANGE);
  ///     check(value.try_as<qm::DateTime>().error().code() == QM_ERROR_ARGUMENT);
  template <class T>
  T as() const {
    return try_as<T>().value();
  }
  template <class T>
  Result<T> try_as() const;

  /// The value as the kernel converts it, with nothing checked: integers keep their low bytes,
  /// fractions are dropped, what is not a number reads as 0, an unreadable date as empty. T is an
  /// integer, float or double, std::string, WideString or DateTime; of arrays a std::vector of
  /// numbers or DateTimes; and for the raw bytes of the value std::vector<std::byte>.
  /// Owner: the result is a copy. Errors: 22 for an empty owner or a value that has no such
  /// conversion, std::bad_alloc. Threads: any.
  ///
  ///     const qm::Variant value = qm::Variant::create(kernel, 300);
  ///     check(value.convert<std::int8_t>() == 44);
  template <class T>
  T convert() const {
    return try_convert<T>().value();
  }
  template <class T>
  Result<T> try_convert() const;

  /// Reads elements of an array, from the `first` on, into memory of the caller: each exactly as
  /// as() would, or as the kernel converts them.
  /// Owner: `into` stays the caller's. Errors: 22 for an empty owner, no array of that kind, or
  /// elements that it does not have; 34 an element that does not fit T, and nothing has been read.
  /// Threads: any.
  ///
  ///     const double measured[] = {1.0, 2.5, 3.0};
  ///     const qm::Variant array = qm::Variant::create(kernel, measured);
  ///     int whole[2];
  ///     check(array.try_read(1, std::span(whole)).error().code() == QM_ERROR_RANGE);
  ///     array.read_converted(1, std::span(whole));
  ///     check(whole[0] == 2 && whole[1] == 3);
  template <Element T, std::size_t Extent>
  void read(std::int32_t first, std::span<T, Extent> into) const {
    try_read(first, into).value();
  }
  template <Element T, std::size_t Extent>
  Result<void> try_read(std::int32_t first, std::span<T, Extent> into) const;
  template <Element T, std::size_t Extent>
  void read_converted(std::int32_t first, std::span<T, Extent> into) const {
    try_read_converted(first, into).value();
  }
  template <Element T, std::size_t Extent>
  Result<void> try_read_converted(std::int32_t first, std::span<T, Extent> into) const {
    return transfer<T>(QM_CALL_VARIANTREADARRAY, first, into.data(), into.size());
  }

  /// Exchanges the value in place: all who hold the variant see it. Id, name and attributes stay,
  /// unless a name is given; then id and name are exchanged as well. The variant takes the type of
  /// the value, so nothing is lost.
  /// Owner: the variant, of copies; value and name stay the caller's. Errors: 22 for an empty owner
  /// or a value that the kernel does not know, 34, 12; nothing has changed then. Threads: any.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120, "speed");
  ///     speed.assign(1.5);
  ///     check(speed.as<double>() == 1.5 && speed.name() == "speed");
  ///     speed.assign("fast", "pace", 3);
  ///     check(speed.as<std::string>() == "fast" && speed.name() == "pace");
  void assign(const Value& value) { try_assign(value).value(); }
  Result<void> try_assign(const Value& value) {
    return exchange(QM_CALL_VARIANTASSIGNVALUE, value, std::nullopt, 0);
  }
  void assign(const Value& value, const std::optional<Text>& new_name, std::int32_t new_id = 0) {
    try_assign(value, new_name, new_id).value();
  }
  Result<void> try_assign(const Value& value, const std::optional<Text>& new_name,
                          std::int32_t new_id = 0) {
    return exchange(QM_CALL_VARIANTASSIGN, value, new_name, new_id);
  }

  /// Sets a number, date-time or text and keeps the type: a 2-byte integer stays one. Refused if
  /// the value would not read back as it was; set_converted() takes what the kernel makes of it.
  /// Owner: the variant, of a copy. Errors: 22 for an empty owner or a value of another kind, 34
  /// one that does not fit, 12; nothing has changed then. Threads: any; a type that another thread
  /// assigns meanwhile is overwritten.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, std::int8_t{100});
  ///     check(speed.try_set(300).error().code() == QM_ERROR_RANGE);
  ///     speed.set(127L);
  ///     check(speed.as<int>() == 127 && speed.info().size == 1);
  ///     speed.set_converted(300);
  ///     check(speed.as<int>() == 44 && speed.info().size == 1);
  template <class T>
  void set(const T& value) {
    try_set(value).value();
  }
  template <class T>
  Result<void> try_set(const T& value);
  template <class T>
  void set_converted(const T& value) {
    try_set_converted(value).value();
  }
  template <class T>
  Result<void> try_set_converted(const T& value);

  /// Writes elements of an array, from the `first` on, and keeps the array's type: refused if one
  /// does not fit, or as the kernel converts them.
  /// Owner: the variant, of copies. Errors: 22 for an empty owner, no array of that kind, or
  /// elements that it does not have; 34 an element that does not fit, and nothing has been written;
  /// 12. Threads: any.
  ///
  ///     const std::int16_t zeros[3] = {};
  ///     qm::Variant array = qm::Variant::create(kernel, zeros);
  ///     const double measured[] = {1.5, 2.0};
  ///     check(array.try_write(1, std::span(measured)).error().code() == QM_ERROR_RANGE);
  ///     array.write_converted(1, std::span(measured));
  ///     check(array.as<std::vector<int>>() == std::vector({0, 1, 2}));
  template <class T, std::size_t Extent>
  void write(std::int32_t first, std::span<T, Extent> from) {
    try_write(first, from).value();
  }
  template <class T, std::size_t Extent>
  Result<void> try_write(std::int32_t first, std::span<T, Extent> from);
  template <class T, std::size_t Extent>
  void write_converted(std::int32_t first, std::span<T, Extent> from) {
    try_write_converted(first, from).value();
  }
  template <class T, std::size_t Extent>
  Result<void> try_write_converted(std::int32_t first, std::span<T, Extent> from) {
    using Plain = std::remove_const_t<T>;
    return transfer<Plain>(QM_CALL_VARIANTWRITEARRAY, first, const_cast<Plain*>(from.data()),
                           from.size());
  }

  /// The variant that a path leads to: "color", "kids[2]", "L,N='two words'/size" (the syntax is
  /// that of docs/variants.md). An empty path leads here.
  /// Owner: the result. Errors: 22 for an empty owner or a bad path, 2 nothing there; the message
  /// tells the position in the path. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     list.items().add(5).attributes().add("red", "color");
  ///     check(list.at("[0]/color").as<std::string>() == "red");
  ///     check(list.try_at("[0]/size").error().text().ends_with("(pos=8)"));
  Variant at(const Text& path) const { return try_at(path).value(); }
  Result<Variant> try_at(const Text& path) const {
    qm_variant_path_w record{get(), path.c_str(), nullptr};
    return try_call_kernel(QM_CALL_VARIANTPATHW, &record).transform([&](std::int32_t) {
      return Variant(kernel(), record.result);
    });
  }

  /// The items of a container, and the attributes that every variant may have. They borrow from a
  /// variable, and take over the reference of a Variant that nothing else holds.
  /// Owner: see Children. Errors: none; what needs a container refuses later. Threads: as Variant.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     for (const int n : {1, 2, 3}) list.items().add(n);
  ///     int sum = 0;
  ///     for (const qm::Variant& item : list.items()) sum += item.as<int>();
  ///     check(sum == 6);
  Children items() const&;
  Children items() &&;
  Children attributes() const&;
  Children attributes() &&;

 private:
  static Result<qm_variant_create> describe(qm_variant* target, const Value& value,
                                            const std::optional<Text>& name, std::int32_t id) {
    constexpr std::size_t kLargest = std::numeric_limits<std::int32_t>::max();
    if (value.size() > kLargest || value.count() > kLargest) {
      return Error(QM_ERROR_RANGE, "a value has at most 2 GB");
    }
    return qm_variant_create{target,
                             id,
                             name ? name->c_str() : nullptr,
                             value.type(),
                             static_cast<std::int32_t>(value.size()),
                             static_cast<std::int32_t>(value.count()),
                             value.data()};
  }
  Result<void> exchange(std::uint32_t function, const Value& value, const std::optional<Text>& name,
                        std::int32_t id) {
    return describe(get(), value, name, id).and_then([&](qm_variant_create record) {
      return try_call_kernel(function, &record).transform([](std::int32_t) {});
    });
  }
  // What was written: bytes, for wide text characters.
  Result<std::int32_t> convert_into(std::int32_t type, std::size_t size, void* target) const;
  template <class Sequence>
  Result<Sequence> convert_sequence(std::int32_t type) const;
  template <class T>
  Result<detail::RawValue> as_own_type(const T& value) const;
  template <Element T>
  Result<void> transfer(std::uint32_t function, std::int32_t first, T* buffer,
                        std::size_t count) const {
    if (!*this) return refusal();
    if (count == 0) return {};
    if (count > std::numeric_limits<std::int32_t>::max() / sizeof(T)) {
      return Error(QM_ERROR_RANGE, "an array has at most 2 GB");
    }
    qm_variant_array record{get(),
                            sizeof(T),
                            type_of<T>,
                            first,
                            static_cast<std::int32_t>(count),
                            buffer,
                            static_cast<std::int32_t>(count * sizeof(T))};
    return try_call_kernel(function, &record).transform([](std::int32_t) {});
  }
};

inline Result<WideString> Variant::try_wide_name() const {
  WideString name(64, 0);
  for (;;) {
    qm_variant_info_name record{get(), 0, name.data(), static_cast<std::int32_t>(name.size()),
                                0,     0, 0,           0};
    if (const auto done = try_call_kernel(QM_CALL_VARIANTINFONAME, &record); !done) {
      return done.error();
    }
    const std::size_t length = WideView(name.c_str()).size();
    if (length + 1 < name.size()) {
      name.resize(length);
      return name;
    }
    name.resize(2 * name.size());  // it may have been cut
  }
}

}  // namespace qm

// What the declarations above promise.
#include <qm/children.hpp>
#include <qm/variant_arrays.hpp>
#include <qm/variant_reading.hpp>
#include <qm/variant_setting.hpp>
