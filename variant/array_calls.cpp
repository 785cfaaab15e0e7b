// Elements of an array, converted into the caller's buffer and from there.
#include "variant/array_calls.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "kernel/errors/error_state.h"
#include "variant/conversion_result.h"
#include "variant/slice.h"
#include "variant/types.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

enum class Direction { read, write };

// Whether the buffer's elements may have the record's type. A single one can also be read as text.
bool is_buffer_type(const qm_variant_array& record, Direction direction) {
  if (kind_of(record.type) == Kind::scalar) return true;
  return direction == Direction::read && is_text(record.type) && record.count == 1;
}

// Whether all elements have to fit the buffer. A single element that is read is cut to it instead.
bool must_fit(const qm_variant_array& record, Direction direction) {
  return direction == Direction::write || record.count > 1;
}

// The order of the checks is part of the contract.
bool check(const qm_variant_array& record, Direction direction) {
  if (record.variant == nullptr) return refuse(QM_W("(variant)"));
  if (record.count < 1) return fail(QM_ERROR_ARGUMENT);
  if (record.buffer == nullptr || record.capacity < 1) return refuse(QM_W("(target || tgtlen)"));
  if (record.variant->kind() != Kind::array || !is_buffer_type(record, direction)) {
    return refuse(QM_W("(type)"));
  }
  const std::int64_t end = std::int64_t{record.first} + record.count;
  if (record.first < 0 || end > record.variant->item_count()) return refuse(QM_W("(ix)"));
  if (direction == Direction::write && !is_element_width(record.type, record.width)) {
    return refuse(QM_W("(srclen)"));
  }
  if (must_fit(record, direction) && !fits(record.count, record.width, record.capacity)) {
    return refuse(QM_W("(target || tgtlen)"));
  }
  return true;
}

std::span<std::byte> elements_from(const qm_variant_array& record) {
  const auto offset =
      static_cast<std::size_t>(record.first) * static_cast<std::size_t>(record.variant->size());
  return record.variant->data().subspan(offset);
}

}  // namespace

bool variant_read_array(qm_variant_array& record) {
  const VariantsReadGuard guard;
  if (!check(record, Direction::read)) return false;
  const qm_variant& array = *record.variant;
  const Slice slice{element_type(array.type()),
                    elements_from(record).data(),
                    array.size(),
                    record.type,
                    static_cast<std::byte*>(record.buffer),
                    record.capacity,
                    record.width,
                    record.count};
  return convert_slice(slice) != kConversionFailed;
}

bool variant_write_array(qm_variant_array& record) {
  const VariantsWriteGuard guard;
  if (!check(record, Direction::write)) return false;
  const qm_variant& array = *record.variant;
  const auto elements = elements_from(record);
  const auto capacity = std::min<std::size_t>(elements.size(), INT32_MAX);
  const Slice slice{record.type,     static_cast<const std::byte*>(record.buffer),
                    record.width,    element_type(array.type()),
                    elements.data(), static_cast<std::int32_t>(capacity),
                    array.size(),    record.count};
  return convert_slice(slice) != kConversionFailed;
}

}  // namespace qmsd
