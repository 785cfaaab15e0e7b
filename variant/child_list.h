// The items or attributes of one variant: an array of pointers that grows in steps of 16, and the
// one finder by which children are selected.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "include/qmsd7.h"
#include "services/text/text.h"

namespace qmsd {

// Which child is meant. The name's hash is computed once per request.
class ChildQuery {
 public:
  explicit ChildQuery(const qm_variant_child& request);
  ChildQuery(std::uint32_t flags, std::int32_t id, std::int32_t index,
             std::optional<WideView> name);

  bool names(const qm_variant& child) const;
  bool identifies(const qm_variant& child) const;
  bool has(std::uint32_t flag) const { return (flags_ & flag) != 0; }
  // The index counts only when it was announced.
  std::int32_t index() const { return has(QM_FIND_INDEX) ? index_ : 0; }
  void set_index(std::int32_t index) { index_ = index; }

 private:
  std::uint32_t flags_;
  std::int32_t id_;
  std::int32_t index_;
  std::optional<WideView> name_;  // nothing: unnamed children
  std::uint32_t hash_;
};

// A view of a list inside a variant; the variants' lock is held while it is used.
class ChildList {
 public:
  ChildList(qm_variant**& entries, std::int32_t& count) noexcept
      : entries_(entries), count_(count) {}

  std::int32_t count() const noexcept { return count_; }
  qm_variant* operator[](std::int32_t at) const noexcept { return entries_[at]; }
  std::span<qm_variant* const> entries() const noexcept {
    return {entries_, static_cast<std::size_t>(count_)};
  }

  // The position that the query selects; the count or more when there is no such child, so that the
  // caller can tell "not there" from "behind the end". Nothing, with "(ix)", for a negative index.
  std::optional<std::int32_t> find(const ChildQuery& query) const;
  // The same for looking up: a position without a child is error 2.
  std::optional<std::int32_t> find_child(const ChildQuery& query) const;
  // Where the query wants a new child; "(ix)" behind the end.
  std::optional<std::int32_t> find_place(const ChildQuery& query) const;
  // By address; -1 when it is not in the list.
  std::int32_t position_of(const qm_variant* child) const;

  // Adds a reference to the child. False, error 12: nothing has changed.
  bool insert(std::int32_t position, qm_variant& child);
  // For filling an empty list with references that are handed over: room for so many children
  // (false when memory is exhausted), then each of them.
  bool reserve(std::int32_t children);
  void append_reserved(qm_variant& child) noexcept;
  // Hands the list's reference to the caller. A list that becomes empty is freed.
  qm_variant* remove(std::int32_t position);

 private:
  qm_variant**& entries_;
  std::int32_t& count_;
};

}  // namespace qmsd
