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

using Children = std::span<qm_variant* const>;

// The index-th match, counting from 0, or the count.
template <class Matches>
std::int32_t nth(Children children, std::int32_t index, Matches matches) {
  std::int32_t at = 0;
  for (const qm_variant* child : children) {
    if (matches(*child) && index-- == 0) break;
    ++at;
  }
  return at;
}

// The first match at or behind the index, or the count.
template <class Matches>
std::int32_t first_from(Children children, std::int32_t index, Matches matches) {
  auto at = std::min(static_cast<std::size_t>(index), children.size());
  while (at < children.size() && !matches(*children[at])) ++at;
  return static_cast<std::int32_t>(at);
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

std::optional<std::int32_t> ChildList::find(const ChildQuery& query) const {
  const auto names = [&query](const qm_variant& child) { return query.names(child); };
  const auto identifies = [&query](const qm_variant& child) { return query.identifies(child); };
  const std::int32_t index = query.index();
  if (index < 0) {
    refuse(QM_W("(ix)"));
    return std::nullopt;
  }
  if (query.has(QM_FIND_LAST)) return std::max(count_ - 1, 0);
  if (query.has(QM_FIND_NTH_OF_ID)) return nth(entries(), index, identifies);
  if (query.has(QM_FIND_NTH_OF_NAME)) return nth(entries(), index, names);
  if (query.has(QM_FIND_NAME_FROM)) return first_from(entries(), index, names);
  if (query.has(QM_FIND_ID_FROM)) return first_from(entries(), index, identifies);
  return index;
}

std::optional<std::int32_t> ChildList::find_child(const ChildQuery& query) const {
  const auto position = find(query);
  if (position && *position >= count_) {
    fail(QM_ERROR_NOT_FOUND);
    return std::nullopt;
  }
  return position;
}

std::optional<std::int32_t> ChildList::find_place(const ChildQuery& query) const {
  const auto found = find(query);
  if (!found) return found;
  if (query.has(QM_FIND_LAST)) return count_;
  if (*found > count_) {
    refuse(QM_W("(ix)"));
    return std::nullopt;
  }
  return query.has(QM_INSERT_AFTER) && *found < count_ ? *found + 1 : *found;
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
