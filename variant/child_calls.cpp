// Items and attributes: one set of operations, which takes the kind of list as a parameter.
#include "variant/child_calls.h"

#include <cstdint>
#include <optional>

#include "kernel/errors/error_state.h"
#include "variant/child_list.h"
#include "variant/release_list.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

enum class ListKind { items, attributes };

// The list that is meant, with the lock held; nothing, with an error, if the holder has none.
std::optional<ChildList> list_of(qm_variant* holder, ListKind kind) {
  if (holder == nullptr) {
    refuse(QM_W("(parent)"));
    return std::nullopt;
  }
  if (kind == ListKind::attributes) return holder->attributes();
  if (holder->kind() != Kind::container) {
    refuse(QM_W("(type)"));
    return std::nullopt;
  }
  return holder->items();
}

void report(qm_variant_child& record, const qm_variant& child, std::int32_t position) {
  record.id = child.id();
  record.index = position;
}

struct Selection {
  ChildList list;
  std::int32_t position;
};

// Finds the child that the record selects.
std::optional<Selection> select(const qm_variant_child& record, ListKind kind) {
  const auto list = list_of(record.holder, kind);
  if (!list) return std::nullopt;
  const auto position = list->find_child(ChildQuery(record));
  if (!position) return std::nullopt;
  return Selection{*list, *position};
}

enum class Reference { add, none };

bool get(qm_variant_child& record, ListKind kind, Reference reference) {
  const VariantsReadGuard guard;
  const auto selection = select(record, kind);
  if (!selection) return false;
  qm_variant* child = selection->list[selection->position];
  report(record, *child, selection->position);
  record.child = nullptr;
  if (reference == Reference::add) {
    child->add_reference();
    record.child = child;
  }
  return true;
}

// The removed child, with the list's reference, goes to the record.
bool take(qm_variant_child& record, ListKind kind) {
  const VariantsWriteGuard guard;
  auto selection = select(record, kind);
  if (!selection) return false;
  record.child = selection->list.remove(selection->position);
  report(record, *record.child, selection->position);
  return true;
}

bool remove(qm_variant_child& record, ListKind kind) {
  if (!take(record, kind)) return false;
  ReleaseList dead;
  const std::int32_t count = dead.drop(*record.child);
  record.child = nullptr;
  return count >= 1 || refuse(QM_W("(ref=%i)"), count);
}

bool insert(qm_variant_child& record, ListKind kind) {
  const VariantsWriteGuard guard;
  auto list = list_of(record.holder, kind);
  if (!list) return false;
  if (record.child == nullptr) return refuse(QM_W("(item)"));
  const auto place = list->find_place(ChildQuery(record));
  if (!place || !list->insert(*place, *record.child)) return false;
  report(record, *record.child, *place);
  return true;
}

// How many children have the name, and where the first of them from the index on is.
bool count_named(qm_variant_child& record, ListKind kind) {
  const VariantsReadGuard guard;
  const auto list = list_of(record.holder, kind);
  if (!list) return false;
  qm_variant_child by_name = record;
  by_name.flags = (record.flags & QM_FIND_INDEX) | QM_FIND_NAME_FROM;
  const ChildQuery query(by_name);
  const auto first = list->find(query);
  if (!first) return false;
  std::int32_t matches = 0;
  for (const qm_variant* child : list->entries()) matches += query.names(*child) ? 1 : 0;
  record.index = *first < list->count() ? *first : -1;
  record.id = matches;
  record.child = nullptr;
  return true;
}

// Finds the child by address. Both record types have the same field names.
template <class Record>
bool position_of(Record& record, const qm_variant* child, ListKind kind) {
  const VariantsReadGuard guard;
  const auto list = list_of(record.holder, kind);
  if (!list) return false;
  if (child == nullptr) return refuse(QM_W("(item)"));
  const std::int32_t position = list->position_of(child);
  if (position < 0) return fail(QM_ERROR_NOT_FOUND);
  record.id = child->id();
  record.index = position;
  return true;
}

}  // namespace

bool item_get(qm_variant_child& record) { return get(record, ListKind::items, Reference::add); }
bool item_take(qm_variant_child& record) { return take(record, ListKind::items); }
bool item_delete(qm_variant_child& record) { return remove(record, ListKind::items); }
bool item_insert(qm_variant_child& record) { return insert(record, ListKind::items); }
bool item_count_named(qm_variant_child& record) { return count_named(record, ListKind::items); }

bool item_position(qm_variant_child& record) {
  return position_of(record, record.child, ListKind::items);
}

bool attribute_get(qm_variant_child& record) {
  return get(record, ListKind::attributes, Reference::add);
}
bool attribute_find(qm_variant_child& record) {
  return get(record, ListKind::attributes, Reference::none);
}
bool attribute_take(qm_variant_child& record) { return take(record, ListKind::attributes); }
bool attribute_delete(qm_variant_child& record) { return remove(record, ListKind::attributes); }
bool attribute_insert(qm_variant_child& record) { return insert(record, ListKind::attributes); }
bool attribute_count_named(qm_variant_child& record) {
  return count_named(record, ListKind::attributes);
}

bool attribute_position(qm_variant_attribute_position& record) {
  return position_of(record, record.attribute, ListKind::attributes);
}

}  // namespace qmsd
