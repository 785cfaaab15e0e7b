// Child lists and the finder.
#include "variant/child_list.h"

#include <algorithm>
#include <cstddef>

#include "kernel/errors/error_state.h"
#include "platform/heap.h"
#include "services/text/text.h"
#include "variant/name_hash.h"
#include "variant/variant.h"

namespace qmsd {
namespace {

constexpr std::int32_t kStep = 16;

std::optional<WideView> optional_view(const qm_wchar* text) {
  return text == nullptr ? std::nullopt : std::optional<WideView>(text);
}

}  // namespace

ChildQuery::ChildQuery(const qm_variant_child& request)
    : ChildQuery(request.flags, request.id, request.index, optional_view(request.name)) {}

ChildQuery::ChildQuery(std::uint32_t flags, std::int32_t id, std::int32_t index,
                       std::optional<WideView> name)
    : flags_(flags),
      id_(id),
      index_(index),
      name_(name),
      hash_(name_hash(name.value_or(WideView()))) {}

bool ChildQuery::names(const qm_variant& child) const { return child.is_named(name_, hash_); }
bool ChildQuery::identifies(const qm_variant& child) const { return child.id() == id_; }

std::span<qm_variant* const> ChildList::entries() const noexcept {
  return {entries_, static_cast<std::size_t>(count_)};
}

// The index-th match, counting from 0, or the count.
std::int32_t ChildList::nth(const ChildQuery& query,
                            bool (ChildQuery::*matches)(const qm_variant&) const) const {
  std::int32_t to_skip = query.index();
  for (std::int32_t at = 0; at < count_; ++at) {
    if ((query.*matches)(*entries_[at]) && to_skip-- == 0) return at;
  }
  return count_;
}

// The first match at or behind the index, or the count.
std::int32_t ChildList::first_from(const ChildQuery& query,
                                   bool (ChildQuery::*matches)(const qm_variant&) const) const {
  for (std::int32_t at = query.index(); at < count_; ++at) {
    if ((query.*matches)(*entries_[at])) return at;
  }
  return count_;
}

bool ChildList::find(const ChildQuery& query, std::int32_t& position) const {
  if (query.index() < 0) return fail(QM_ERROR_ARGUMENT, QM_W("(ix)"));
  if (query.has(QM_FIND_LAST)) {
    position = std::max(count_ - 1, 0);
  } else if (query.has(QM_FIND_NTH_OF_ID)) {
    position = nth(query, &ChildQuery::identifies);
  } else if (query.has(QM_FIND_NTH_OF_NAME)) {
    position = nth(query, &ChildQuery::names);
  } else if (query.has(QM_FIND_NAME_FROM)) {
    position = first_from(query, &ChildQuery::names);
  } else if (query.has(QM_FIND_ID_FROM)) {
    position = first_from(query, &ChildQuery::identifies);
  } else {
    position = query.index();
  }
  return true;
}

bool ChildList::find_child(const ChildQuery& query, std::int32_t& position) const {
  std::int32_t found;
  if (!find(query, found)) return false;
  if (found >= count_) return fail(QM_ERROR_NOT_FOUND);
  position = found;
  return true;
}

bool ChildList::find_place(const ChildQuery& query, std::int32_t& position) const {
  std::int32_t place;
  if (!find(query, place)) return false;
  if (query.has(QM_FIND_LAST)) {
    place = count_;
  } else if (query.has(QM_INSERT_AFTER) && place < count_) {
    ++place;
  }
  if (place > count_) return fail(QM_ERROR_ARGUMENT, QM_W("(ix)"));
  position = place;
  return true;
}

std::int32_t ChildList::position_of(const qm_variant* child) const {
  const auto all = entries();
  const auto found = std::find(all.begin(), all.end(), child);
  return found == all.end() ? -1 : static_cast<std::int32_t>(found - all.begin());
}

bool ChildList::reserve(std::int32_t children) {
  const std::size_t capacity = (static_cast<std::size_t>(children) + kStep - 1) / kStep * kStep;
  if (capacity == 0) return true;
  void* grown = platform::heap_reallocate(entries_, capacity * sizeof(qm_variant*));
  if (grown == nullptr) return false;
  entries_ = static_cast<qm_variant**>(grown);
  return true;
}

void ChildList::append_reserved(qm_variant& child) noexcept { entries_[count_++] = &child; }

bool ChildList::insert(std::int32_t position, qm_variant& child) {
  // The capacity is always the count rounded up to the step, so a full list is a multiple of it.
  if (count_ % kStep == 0 && !reserve(count_ + 1)) return fail(QM_ERROR_NO_MEMORY);
  std::copy_backward(entries_ + position, entries_ + count_, entries_ + count_ + 1);
  entries_[position] = &child;
  ++count_;
  child.add_reference_if_alive();
  return true;
}

qm_variant* ChildList::remove(std::int32_t position) {
  qm_variant* child = entries_[position];
  std::copy(entries_ + position + 1, entries_ + count_, entries_ + position);
  if (--count_ == 0) {
    platform::heap_free(entries_);
    entries_ = nullptr;
  }
  return child;
}

}  // namespace qmsd
