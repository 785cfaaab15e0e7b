// The children of a variant: its items, if it is a container, and its attributes.
#pragma once

#include <qmsd7.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

#include <qm/variant.hpp>

namespace qm {

/// Which child is meant: made, without being asked, from an index or a name, or by one of the
/// functions here. Whether there is such a child the call tells that is given it.
/// Owner: of a copy of the name. Errors: std::bad_alloc. Threads: a plain value.
///
///     qm::Variant car = qm::Variant::create(kernel, qm::Value());
///     car.attributes().add("red", "color", 4);
///     car.attributes().add("blue", "color", 5);
///     check(car.attributes().get(0).info().id == 4);
///     check(car.attributes().get("color").info().id == 4);
///     check(car.attributes().get(qm::Where::named("color", 1)).info().id == 5);
class Where {
 public:
  template <Integer Index>
  Where(Index index) noexcept : flags_(QM_FIND_INDEX), index_(clamped(index)) {}
  template <detail::TextLike T>
  Where(const T& name) : Where(named(Text(name))) {}

  /// The last child; when inserting, the end of the list.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     for (const int n : {1, 2, 3}) list.items().add(n);
  ///     check(list.items().get(qm::Where::last()).as<int>() == 3);
  static Where last() noexcept { return Where(QM_FIND_LAST, 0); }

  /// Among the children with this name, without a name, or with this id, the one at that place.
  /// Owner: the result, of a copy of the name. Errors: std::bad_alloc. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     list.items().add(1, "a", 7);
  ///     list.items().add(2, "a", 7);
  ///     list.items().add(3);
  ///     check(list.items().get(qm::Where::named("a", 1)).as<int>() == 2);
  ///     check(list.items().get(qm::Where::with_id(7)).as<int>() == 1);
  ///     check(list.items().get(qm::Where::unnamed()).as<int>() == 3);
  static Where named(Text name, std::int32_t nth = 0) {
    Where where(QM_FIND_INDEX | QM_FIND_NTH_OF_NAME, nth);
    where.name_ = std::move(name);
    return where;
  }
  static Where unnamed(std::int32_t nth = 0) noexcept {
    return Where(QM_FIND_INDEX | QM_FIND_NTH_OF_NAME, nth);
  }
  static Where with_id(std::int32_t id, std::int32_t nth = 0) noexcept {
    Where where(QM_FIND_INDEX | QM_FIND_NTH_OF_ID, nth);
    where.id_ = id;
    return where;
  }

  /// For inserting: behind that child instead of before it.
  /// Owner: the result, of what this Where had. Errors: none. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     list.items().add(1, "first");
  ///     list.items().add(3, "third");
  ///     list.items().insert(qm::Variant::create(kernel, 2), qm::Where("first").after());
  ///     check(list.items().get(1).as<int>() == 2);
  Where after() && noexcept {
    flags_ |= QM_INSERT_AFTER;
    return std::move(*this);
  }

  /// The kernel's record for it, for calls of one's own. It borrows the name.
  /// Owner: this Where, of the name; holder and child stay the caller's. Errors: none. Threads:
  /// any.
  ///
  ///     check(qm::Where(3).record(nullptr).index == 3);
  qm_variant_child record(qm_variant* holder, qm_variant* child = nullptr) const noexcept {
    return {holder, flags_, id_, index_, name_ ? name_->c_str() : nullptr, child};
  }

 private:
  Where(std::uint32_t flags, std::int32_t index) noexcept : flags_(flags), index_(index) {}

  template <Integer Index>
  static std::int32_t clamped(Index index) noexcept {
    if (std::in_range<std::int32_t>(index)) return static_cast<std::int32_t>(index);
    return index < Index{} ? -1 : std::numeric_limits<std::int32_t>::max();
  }

  std::uint32_t flags_;
  std::int32_t index_;
  std::int32_t id_ = 0;
  std::optional<Text> name_;
};

/// The items or the attributes of one variant, in their order.
/// Owner: of nothing when made from a variable, which must outlive it; of the variant's reference
/// when made from a temporary. Errors: those of the functions below. Threads: as Variant.
///
///     qm::Variant car = qm::Variant::create(kernel, qm::Value());
///     car.attributes().add("red", "color");
///     check(car.attributes().size() == 1 && !car.attributes().contains("size"));
class Children {
 public:
  /// How many there are.
  /// Owner: of nothing. Errors: 22 for an empty Variant, or items of what is no container. Threads:
  /// any.
  ///
  ///     const qm::Variant number = qm::Variant::create(kernel, 5);
  ///     check(number.attributes().empty());
  ///     check(number.items().try_size().error().code() == QM_ERROR_ARGUMENT);
  std::int32_t size() const { return try_size().value(); }
  Result<std::int32_t> try_size() const;
  bool empty() const { return try_empty().value(); }
  Result<bool> try_empty() const {
    return try_size().transform([](std::int32_t number) { return number == 0; });
  }

  /// How many have this name (nullopt: no name), or whether any has. Leaves no error behind when
  /// there is none.
  /// Owner: of nothing; the name stays the caller's. Errors: 22 for an empty Variant, or items of
  /// what is no container. Threads: any.
  ///
  ///     qm::Variant car = qm::Variant::create(kernel, qm::Value());
  ///     car.attributes().add("red", "color");
  ///     check(car.attributes().count("color") == 1 && car.attributes().count(std::nullopt) == 0);
  std::int32_t count(const std::optional<Text>& name) const { return try_count(name).value(); }
  Result<std::int32_t> try_count(const std::optional<Text>& name) const;
  bool contains(const std::optional<Text>& name) const { return try_contains(name).value(); }
  Result<bool> try_contains(const std::optional<Text>& name) const {
    return try_count(name).transform([](std::int32_t number) { return number != 0; });
  }

  /// The child.
  /// Owner: the result. Errors: 2 no such child; 22 for an empty Variant, items of what is no
  /// container, or a negative index. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     list.items().add(10);
  ///     check(list.items()[0].as<int>() == 10);
  ///     check(list.items().try_get(1).error().code() == QM_ERROR_NOT_FOUND);
  Variant get(const Where& where) const { return try_get(where).value(); }
  Variant operator[](const Where& where) const { return get(where); }
  Result<Variant> try_get(const Where& where) const { return fetch(codes().get, where); }

  /// Takes the child out of the list, or destroys the list's reference to it.
  /// Owner: the result of take(), of the reference that the list had. Errors: as for get().
  /// Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     for (const int n : {1, 2, 3}) list.items().add(n);
  ///     const qm::Variant second = list.items().take(1);
  ///     list.items().remove(qm::Where::last());
  ///     check(second.as<int>() == 2 && list.items().size() == 1);
  Variant take(const Where& where) const { return try_take(where).value(); }
  Result<Variant> try_take(const Where& where) const { return fetch(codes().take, where); }
  void remove(const Where& where) const { try_remove(where).value(); }
  Result<void> try_remove(const Where& where) const;

  /// Inserts a variant before the place, at the end unless told otherwise, and returns its index.
  /// Owner: the list takes a reference of its own; `child` stays the caller's. Errors: 22 for an
  /// empty Variant, items of what is no container, or an index behind the end; 12. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     const qm::Variant item = qm::Variant::create(kernel, 5);
  ///     check(list.items().insert(item) == 0 && list.items().insert(item, 0) == 0);
  std::int32_t insert(const Variant& child, const Where& where = Where::last()) const {
    return try_insert(child, where).value();
  }
  Result<std::int32_t> try_insert(const Variant& child, const Where& where = Where::last()) const;

  /// Creates a variant and appends it.
  /// Owner: the list, and the result of a reference of its own. Errors: as for Variant::create()
  /// and insert(). Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     check(list.items().add(5, "five").name() == "five");
  Variant add(const Value& value, const std::optional<Text>& name = std::nullopt,
              std::int32_t id = 0) const {
    return try_add(value, name, id).value();
  }
  Result<Variant> try_add(const Value& value, const std::optional<Text>& name = std::nullopt,
                          std::int32_t id = 0) const;

  /// Moves a child to another place of the same list, counted without that child. Between the two
  /// steps other threads see it nowhere.
  /// Owner: the list, as before. Errors: as for take() and insert(); if the new place is refused
  /// the child is at its old place. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     for (const int n : {1, 2, 3}) list.items().add(n);
  ///     list.items().move(0, qm::Where::last());
  ///     check(list.items()[0].as<int>() == 2 && list.items()[2].as<int>() == 1);
  void move(const Where& from, const Where& to) const { try_move(from, to).value(); }
  Result<void> try_move(const Where& from, const Where& to) const;

  /// The index of this very variant among the children.
  /// Owner: of nothing; `child` stays the caller's. Errors: 2 it is none of them; 22 for an empty
  /// Variant, or items of what is no container. Threads: any.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     list.items().add(1);
  ///     const qm::Variant second = list.items().add(2);
  ///     check(list.items().position(second) == 1);
  std::int32_t position(const Variant& child) const { return try_position(child).value(); }
  Result<std::int32_t> try_position(const Variant& child) const;

  /// Goes through the children. As many are visited as there were at the start; should others
  /// remove some meanwhile, it ends sooner. What is visited is a reference that may be kept by
  /// moving it away.
  /// Owner: the iterator, of the reference that it shows. Errors: as for get(), thrown by begin()
  /// and ++; try_size() and try_get() do without throwing. Threads: any; the iterator is one
  /// thread's.
  ///
  ///     qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     for (const int n : {1, 2, 3}) list.items().add(n);
  ///     std::vector<qm::Variant> kept;
  ///     for (qm::Variant& item : list.items()) kept.push_back(std::move(item));
  ///     check(kept.size() == 3 && kept[2].as<int>() == 3);
  class Iterator {
   public:
    using value_type = Variant;
    using difference_type = std::ptrdiff_t;

    Iterator() = default;
    explicit Iterator(const Children& children) : children_(&children), end_(children.size()) {
      fetch();
    }

    Variant& operator*() const noexcept { return current_; }
    Variant* operator->() const noexcept { return &current_; }
    Iterator& operator++() {
      ++index_;
      fetch();
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const Iterator& at, std::default_sentinel_t) noexcept {
      return at.index_ >= at.end_;
    }

   private:
    void fetch() {
      if (index_ >= end_) return;
      Result<Variant> next = children_->try_get(index_);
      if (!next && next.error().code() == QM_ERROR_NOT_FOUND) {
        end_ = index_;
      } else {
        current_ = std::move(next).value();
      }
    }

    const Children* children_ = nullptr;
    std::int32_t index_ = 0;
    std::int32_t end_ = 0;
    mutable Variant current_;
  };

  /// The way through all children, for range-for.
  /// Owner: the iterator borrows this object, which range-for keeps. Errors: as for Iterator.
  /// Threads: any.
  ///
  ///     const qm::Variant list = qm::Variant::create(kernel, qm::Value::container());
  ///     check(list.items().begin() == list.items().end());
  Iterator begin() const { return Iterator(*this); }
  std::default_sentinel_t end() const noexcept { return {}; }

 private:
  friend class Variant;

  enum class Kind { items, attributes };

  struct Codes {
    std::uint32_t get, take, remove, insert, count;
  };
  static constexpr Codes kItems = {QM_CALL_VARIANTGETITEM, QM_CALL_VARIANTTAKEITEM,
                                   QM_CALL_VARIANTDELETEITEM, QM_CALL_VARIANTINSERTITEM,
                                   QM_CALL_VARIANTCOUNTITEMS};
  static constexpr Codes kAttributes = {
      QM_CALL_VARIANTGETATTRIBUTE, QM_CALL_VARIANTTAKEATTRIBUTE, QM_CALL_VARIANTDELETEATTRIBUTE,
      QM_CALL_VARIANTINSERTATTRIBUTE, QM_CALL_VARIANTCOUNTATTRIBUTES};

  Children(Kind kind, Kernel kernel, qm_variant* holder) noexcept
      : kind_(kind), kernel_(kernel), holder_(holder) {}
  Children(Kind kind, Variant holder) noexcept : Children(kind, holder.kernel(), holder.get()) {
    owner_ = std::move(holder);
  }

  static Error refusal() { return Error(QM_ERROR_ARGUMENT, "this Variant is empty"); }
  const Codes& codes() const noexcept { return kind_ == Kind::items ? kItems : kAttributes; }
  Result<std::int32_t> try_call(std::uint32_t function, void* record) const {
    if (!holder_) return refusal();
    return kernel_.try_call(function, record);
  }
  Result<Variant> fetch(std::uint32_t function, const Where& where) const {
    qm_variant_child record = where.record(holder_);
    return try_call(function, &record).transform([&](std::int32_t) {
      return Variant(kernel_, record.child);
    });
  }

  Kind kind_;
  Kernel kernel_;
  qm_variant* holder_;
  Variant owner_;
};

inline Result<std::int32_t> Children::try_size() const {
  qm_variant_info record{holder_, 0, 0, 0, 0, 0};
  return try_call(QM_CALL_VARIANTINFO, &record).and_then([&](std::int32_t) -> Result<std::int32_t> {
    if (kind_ == Kind::attributes) return record.nattributes;
    if (record.type == QM_TYPE_CONTAINER) return record.nitems;
    return Error(QM_ERROR_ARGUMENT, "this variant is no container");
  });
}

inline Result<std::int32_t> Children::try_count(const std::optional<Text>& name) const {
  qm_variant_child record{holder_, 0, 0, 0, name ? name->c_str() : nullptr, nullptr};
  return try_call(codes().count, &record).transform([&](std::int32_t) { return record.id; });
}

inline Result<void> Children::try_remove(const Where& where) const {
  qm_variant_child record = where.record(holder_);
  return try_call(codes().remove, &record).transform([](std::int32_t) {});
}

inline Result<std::int32_t> Children::try_insert(const Variant& child, const Where& where) const {
  qm_variant_child record = where.record(holder_, child.get());
  return try_call(codes().insert, &record).transform([&](std::int32_t) { return record.index; });
}

inline Result<Variant> Children::try_add(const Value& value, const std::optional<Text>& name,
                                         std::int32_t id) const {
  if (!holder_) return refusal();
  Result<Variant> child = Variant::try_create(kernel_, value, name, id);
  if (!child) return child;
  if (auto inserted = try_insert(*child); !inserted) return std::move(inserted).error();
  return child;
}

inline Result<void> Children::try_move(const Where& from, const Where& to) const {
  qm_variant_child record = from.record(holder_);
  if (auto taken = try_call(codes().take, &record); !taken) return std::move(taken).error();
  const Variant child(kernel_, record.child);
  auto inserted = try_insert(child, to);
  if (inserted) return {};
  if (auto back = try_insert(child, record.index); !back) return std::move(back).error();
  return std::move(inserted).error();
}

inline Result<std::int32_t> Children::try_position(const Variant& child) const {
  if (kind_ == Kind::items) {
    qm_variant_child record{holder_, 0, 0, 0, nullptr, child.get()};
    return try_call(QM_CALL_VARIANTITEMPOSITION, &record).transform([&](std::int32_t) {
      return record.index;
    });
  }
  qm_variant_attribute_position record{holder_, child.get(), 0, 0};
  return try_call(QM_CALL_VARIANTATTRIBUTEPOSITION, &record).transform([&](std::int32_t) {
    return record.index;
  });
}

inline Children Variant::items() const& { return Children(Children::Kind::items, kernel(), get()); }
inline Children Variant::items() && { return Children(Children::Kind::items, std::move(*this)); }
inline Children Variant::attributes() const& {
  return Children(Children::Kind::attributes, kernel(), get());
}
inline Children Variant::attributes() && {
  return Children(Children::Kind::attributes, std::move(*this));
}

}  // namespace qm
