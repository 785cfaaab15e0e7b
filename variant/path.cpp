// Walks a path through a tree of variants.
#include "variant/path.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "kernel/errors/error_calls.h"
#include "kernel/errors/error_state.h"
#include "platform/heap.h"
#include "services/text/strings.h"
#include "services/text/text.h"
#include "variant/child_list.h"
#include "variant/conversion.h"
#include "variant/path_parser.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

// The value of a step, tested against candidates; the scratch text holds a candidate's value.
class ValueTest {
 public:
  ValueTest(qm_wchar* scratch, std::size_t length) : scratch_(scratch), length_(length) {}

  // A value that cannot be read does not match, and its error is of no interest.
  bool matches(qm_variant& child, const PathStep& step) const {
    const SavedError error;
    return step.value == PathStep::Value::text ? is_text(child, step.text)
                                               : is_integer(child, step.integer);
  }

 private:
  bool is_text(qm_variant& child, WideView wanted) const {
    // A value without width writes nothing.
    scratch_[0] = 0;
    const auto bytes = static_cast<std::int32_t>(length_ * sizeof(qm_wchar));
    qm_variant_convert reading{&child, 0, QM_TYPE_WIDE_TEXT, bytes, 1, scratch_, bytes};
    return convert_variant(reading) && WideView(scratch_) == wanted;
  }
  static bool is_integer(qm_variant& child, std::int32_t wanted) {
    std::int32_t value = 0;
    qm_variant_convert reading{&child, 0, QM_TYPE_SIGNED, sizeof value, 1, &value, sizeof value};
    return convert_variant(reading) && value == wanted;
  }

  qm_wchar* scratch_;
  std::size_t length_;
};

// What the finder is asked for; with a value the search goes on from `from`.
ChildQuery query_of(const PathStep& step, std::int32_t from) {
  const bool searching = step.value != PathStep::Value::any;
  const std::int32_t index = searching ? from : step.index;
  std::uint32_t flags = searching || step.has_index ? QM_FIND_INDEX : 0;
  std::optional<WideView> name;
  switch (step.child) {
    case PathStep::Child::by_id:
      flags |= searching ? QM_FIND_ID_FROM : QM_FIND_NTH_OF_ID;
      break;
    case PathStep::Child::by_name:
      flags |= searching ? QM_FIND_NAME_FROM : QM_FIND_NTH_OF_NAME;
      name = step.name;
      break;
    case PathStep::Child::any:
      flags |= QM_FIND_INDEX;
      break;
  }
  return ChildQuery(flags, step.id, index, name);
}

// The child that a step selects; null with an error.
qm_variant* select(const ChildList& list, const PathStep& step, const ValueTest& values) {
  std::int32_t to_skip = step.index;
  for (std::int32_t from = 0;; ++from) {
    if (!list.find_child(query_of(step, from), from)) return nullptr;
    qm_variant* candidate = list[from];
    const std::int32_t references = candidate->references();
    if (references < 1) {
      refuse(QM_W("(ref=%i)"), references);
      return nullptr;
    }
    if (step.value == PathStep::Value::any) return candidate;
    if (!values.matches(*candidate, step)) continue;
    if (to_skip == 0) return candidate;
    // A negative index never comes to its end.
    if (to_skip > 0) --to_skip;
  }
}

qm_variant* take_step(qm_variant& parent, const PathStep& step, const ValueTest& values) {
  if (!step.in_items) return select(parent.attributes(), step, values);
  if (parent.kind() == Kind::container) return select(parent.items(), step, values);
  refuse(QM_W("(type)"));
  return nullptr;
}

// Records the current error again, with the position behind it.
void add_position(std::int32_t position) {
  qm_wchar message[kMessageLength];
  qm_get_error_w error{0, message, kMessageLength};
  get_error_wide(&error);
  fail(error.code, QM_W("%ls (pos=%i)"), message, position);
}

template <class Record>
bool check_path(const Record& record) {
  if (record.path == nullptr) return refuse(QM_W("(path)"));
  return record.root != nullptr || refuse(QM_W("(root)"));
}

// The path in wide form; null with an error.
OwnedText widen_path(const char* path) {
  OwnedText wide = wcs_from_mbs_alloc(path);
  if (!wide) fail(QM_ERROR_NO_MEMORY, QM_W("(mem or char coding)"));
  return wide;
}

}  // namespace

qm_variant* find_by_path(qm_variant* root, const qm_wchar* path) {
  constexpr std::size_t kRoom = 10;
  const WideView text(path);
  const std::size_t length = text.size() + kRoom;
  const OwnedText scratch(
      static_cast<qm_wchar*>(platform::heap_allocate(length * sizeof(qm_wchar))));
  if (!scratch) {
    fail(QM_ERROR_NO_MEMORY);
    return nullptr;
  }
  const ValueTest values(scratch.get(), length);
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
        current = take_step(*current, step, values);
        break;
    }
    if (current == nullptr) {
      add_position(parser.position());
      return nullptr;
    }
  }
}

bool variant_path_wide(qm_variant_path_w& record) {
  if (!check_path(record)) return false;
  const VariantsReadGuard guard;
  qm_variant* found = find_by_path(record.root, record.path);
  if (found == nullptr) return false;
  found->add_reference();
  record.result = found;
  return true;
}

bool variant_path_narrow(qm_variant_path_a& record) {
  if (!check_path(record)) return false;
  const OwnedText path = widen_path(record.path);
  if (!path) return false;
  qm_variant_path_w wide{record.root, path.get(), nullptr};
  if (!variant_path_wide(wide)) return false;
  record.result = wide.result;
  return true;
}

bool variant_path_value_wide(qm_variant_path_value_w& record) {
  if (!check_path(record)) return false;
  const VariantsReadGuard guard;
  qm_variant* found = find_by_path(record.root, record.path);
  if (found == nullptr) return false;
  qm_variant_convert reading{found,        record.id,     record.type,    record.size,
                             record.count, record.target, record.capacity};
  if (!convert_variant(reading)) return false;
  record.id = reading.id;
  record.size = reading.size;
  return true;
}

bool variant_path_value_narrow(qm_variant_path_value_a& record) {
  if (!check_path(record)) return false;
  const OwnedText path = widen_path(record.path);
  if (!path) return false;
  qm_variant_path_value_w wide{record.root, path.get(),   record.id,     record.type,
                               record.size, record.count, record.target, record.capacity};
  if (!variant_path_value_wide(wide)) return false;
  record.id = wide.id;
  record.size = wide.size;
  return true;
}

}  // namespace qmsd
