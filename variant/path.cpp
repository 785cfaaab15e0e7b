// Walks a path through a tree of variants.
#include "variant/path.h"

#include <cstddef>
#include <cstdint>

#include "kernel/errors/error_calls.h"
#include "kernel/errors/error_state.h"
#include "services/text/strings.h"
#include "services/text/text.h"
#include "variant/child_list.h"
#include "variant/conversion.h"
#include "variant/path_parser.h"
#include "variant/scratch.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

// Room for a candidate's value as text. It is longer than the path, so a value that is cut to fit
// matches nothing that the path asks for.
using ValueText = Scratch<qm_wchar>;

bool has_text(qm_variant& child, WideView wanted, ValueText& value) {
  const auto bytes = static_cast<std::int32_t>(value.length() * sizeof(qm_wchar));
  // A value without width writes nothing.
  value.text()[0] = 0;
  qm_variant_convert reading{&child, 0, QM_TYPE_WIDE_TEXT, bytes, 1, value.text(), bytes};
  return convert_variant(reading) && WideView(value.text()) == wanted;
}

bool has_integer(qm_variant& child, std::int32_t wanted) {
  std::int32_t value = 0;
  qm_variant_convert reading{&child, 0, QM_TYPE_SIGNED, sizeof value, 1, &value, sizeof value};
  return convert_variant(reading) && value == wanted;
}

// A value that cannot be read does not match, and its error is of no interest.
bool has_value(qm_variant& child, const PathStep& step, ValueText& value) {
  const SavedError error;
  return step.value == PathStep::Value::text ? has_text(child, step.text, value)
                                             : has_integer(child, step.integer);
}

// The query for a step. A search by value goes through the matching children one by one.
ChildQuery query_of(const PathStep& step) {
  const bool searching = step.value != PathStep::Value::any;
  const std::uint32_t index = searching || step.has_index ? QM_FIND_INDEX : 0;
  switch (step.child) {
    case PathStep::Child::by_id:
      return {index | (searching ? QM_FIND_ID_FROM : QM_FIND_NTH_OF_ID), step.id, step.index, {}};
    case PathStep::Child::by_name:
      return {index | (searching ? QM_FIND_NAME_FROM : QM_FIND_NTH_OF_NAME), 0, step.index,
              step.name};
    default:
      return {QM_FIND_INDEX, 0, step.index, {}};
  }
}

// Null, with an error, for a null entry or a child without references: both occur only if a caller
// wrote into a variant's memory.
qm_variant* check_alive(qm_variant* child) {
  if (child == nullptr) {
    refuse(QM_W("(variant)"));
  } else if (child->references() < 1) {
    refuse(QM_W("(ref=%i)"), child->references());
  } else {
    return child;
  }
  return nullptr;
}

// The child with the step's value; null with an error.
qm_variant* search(const ChildList& list, const PathStep& step, ValueText& value) {
  ChildQuery query = query_of(step);
  std::int32_t to_skip = step.index;
  for (std::int32_t from = 0;;) {
    query.set_index(from);
    const auto position = list.find_child(query);
    qm_variant* candidate = position ? check_alive(list[*position]) : nullptr;
    if (candidate == nullptr) return nullptr;
    from = *position + 1;
    if (!has_value(*candidate, step, value)) continue;
    if (to_skip == 0) return candidate;
    // A negative index skips for ever, so nothing is found.
    if (to_skip > 0) --to_skip;
  }
}

// The child that a step selects; null with an error.
qm_variant* select(const ChildList& list, const PathStep& step, ValueText& value) {
  if (step.value != PathStep::Value::any) return search(list, step, value);
  const auto position = list.find_child(query_of(step));
  return position ? check_alive(list[*position]) : nullptr;
}

qm_variant* take_step(qm_variant& parent, const PathStep& step, ValueText& value) {
  if (!step.in_items) return select(parent.attributes(), step, value);
  if (parent.kind() == Kind::container) return select(parent.items(), step, value);
  refuse(QM_W("(type)"));
  return nullptr;
}

// Records the current error again with the position appended.
void add_position(std::int32_t position) {
  qm_wchar message[kMessageLength];
  qm_get_error_w error{0, message, kMessageLength};
  get_error_wide(&error);
  fail(error.code, QM_W("%ls (pos=%i)"), message, position);
}

// A path in wide text: the caller's own, or a wide form of it.
class WidePath {
 public:
  explicit WidePath(const qm_wchar* path) : text_(path) {}
  explicit WidePath(const char* path) : wide_(wcs_from_mbs_alloc(path)), text_(wide_.get()) {
    if (text_ == nullptr) fail(QM_ERROR_NO_MEMORY, QM_W("(mem or char coding)"));
  }

  // Null, with an error recorded, for a path that cannot be widened.
  const qm_wchar* text() const noexcept { return text_; }

 private:
  OwnedText wide_;
  const qm_wchar* text_;
};

// Calls `use`, under the lock, with the variant that the record's path leads to.
template <class Record, class Use>
bool with_target(const Record& record, Use use) {
  if (record.path == nullptr) return refuse(QM_W("(path)"));
  if (record.root == nullptr) return refuse(QM_W("(root)"));
  const WidePath path(record.path);
  if (path.text() == nullptr) return false;
  const VariantsReadGuard guard;
  qm_variant* found = find_by_path(record.root, path.text());
  return found != nullptr && use(*found);
}

template <class Record>
bool find(Record& record) {
  return with_target(record, [&record](qm_variant& found) {
    found.add_reference();
    record.result = &found;
    return true;
  });
}

template <class Record>
bool read_value(Record& record) {
  return with_target(record, [&record](qm_variant& found) {
    qm_variant_convert reading{&found,       record.id,     record.type,    record.size,
                               record.count, record.target, record.capacity};
    if (!convert_variant(reading)) return false;
    record.id = reading.id;
    record.size = reading.size;
    return true;
  });
}

}  // namespace

qm_variant* find_by_path(qm_variant* root, const qm_wchar* path) {
  constexpr std::size_t kRoom = 10;
  const WideView text(path);
  ValueText value(text.size() + kRoom);
  if (value.text() == nullptr) {
    fail(QM_ERROR_NO_MEMORY);
    return nullptr;
  }
  PathParser parser(text);
  qm_variant* current = root;
  PathStep step;
  for (;;) {
    switch (parser.next(step)) {
      case PathParser::Result::end:
        return current;
      case PathParser::Result::syntax:
        refuse(QM_W("(syntax)"));
        current = nullptr;
        break;
      case PathParser::Result::step:
        current = take_step(*current, step, value);
        break;
    }
    if (current == nullptr) {
      add_position(parser.position());
      return nullptr;
    }
  }
}

bool variant_path_wide(qm_variant_path_w& record) { return find(record); }
bool variant_path_narrow(qm_variant_path_a& record) { return find(record); }
bool variant_path_value_wide(qm_variant_path_value_w& record) { return read_value(record); }
bool variant_path_value_narrow(qm_variant_path_value_a& record) { return read_value(record); }

}  // namespace qmsd
