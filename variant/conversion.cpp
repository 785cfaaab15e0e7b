// Conversion of whole variants: what each kind of value can be read as.
#include "variant/conversion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernel/errors/error_state.h"
#include "variant/conversion_result.h"
#include "variant/slice.h"
#include "variant/text_conversion.h"
#include "variant/types.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

std::int32_t refuse_type() { return refuse_conversion(QM_W("(type)")); }

std::int32_t convert_elements(const qm_variant& source, const qm_variant_convert& record,
                              std::int32_t count) {
  const bool is_array = source.kind() == Kind::array;
  const std::int32_t elements = is_array ? source.item_count() : 1;
  if (count > 1 && is_text(record.type)) return refuse_type();
  if (count > elements) return refuse_conversion(QM_W("(ix)"));
  if (count > 1 && !fits(count, record.size, record.capacity)) {
    return refuse_conversion(QM_W("(target || tgtlen)"));
  }
  // A scalar is kept widened, so its stored size only tells whether it has a value at all.
  const std::int64_t bits = source.bits();
  const auto* widened = reinterpret_cast<const std::byte*>(&bits);
  const std::int32_t widened_size = source.size() == 0 ? 0 : static_cast<std::int32_t>(sizeof bits);
  return convert_slice({element_type(source.type()), is_array ? source.data().data() : widened,
                        is_array ? source.size() : widened_size, record.type,
                        static_cast<std::byte*>(record.target), record.capacity, record.size,
                        count});
}

std::int32_t convert_text(const qm_variant& source, const qm_variant_convert& record,
                          std::int32_t count) {
  if (count > 1) return is_text(record.type) ? refuse_type() : refuse_conversion(QM_W("(ix)"));
  return source.kind() == Kind::text ? convert_narrow_text(source, record)
                                     : convert_wide_text(source, record);
}

std::int32_t copy_bytes(const qm_variant& source, const qm_variant_convert& record,
                        std::int32_t count) {
  const std::int64_t bits = source.bits();
  const bool is_scalar = source.kind() == Kind::scalar;
  const std::size_t available =
      is_scalar ? static_cast<std::size_t>(source.size()) : source.data().size();
  if (count > 1) return refuse_type();
  const auto wanted = static_cast<std::size_t>(std::min(record.size, record.capacity));
  const std::size_t length = std::min(wanted, available);
  if (length != 0) {
    std::memcpy(record.target, is_scalar ? static_cast<const void*>(&bits) : source.data().data(),
                length);
  }
  return static_cast<std::int32_t>(length);
}

// The module's name stays the variant's.
std::int32_t describe_object(const qm_variant& source, const qm_variant_convert& record,
                             std::int32_t count) {
  struct {
    std::uint32_t value;
    const qm_wchar* module;
  } described{};
  constexpr std::int32_t size = sizeof described;
  if (count > 1) return refuse_conversion(QM_W("(ix)"));
  if (record.capacity < size) return refuse_conversion(QM_W("(tgtlen)"));
  described.value = source.object().value;
  described.module = source.object().module;
  std::memcpy(record.target, &described, sizeof described);
  return size;
}

// What was written, or -1.
std::int32_t convert(const qm_variant& source, const qm_variant_convert& record) {
  const std::int32_t count = std::max(record.count, 1);
  const Kind from = source.kind();
  const Kind to = kind_of(record.type);
  const bool is_values = from == Kind::scalar || from == Kind::array;
  const bool is_characters = from == Kind::text || from == Kind::wide_text;
  if (to == Kind::binary) {
    const bool has_bytes = is_values || is_characters || from == Kind::binary;
    return has_bytes ? copy_bytes(source, record, count) : refuse_type();
  }
  if (to == Kind::object) {
    return from == Kind::object ? describe_object(source, record, count) : refuse_type();
  }
  if (to != Kind::scalar && !is_text(record.type)) return refuse_type();
  if (is_values) return convert_elements(source, record, count);
  return is_characters ? convert_text(source, record, count) : refuse_type();
}

}  // namespace

bool convert_variant(qm_variant_convert& record) {
  const bool is_complete = record.source != nullptr && record.target != nullptr &&
                           record.size >= 1 && record.capacity >= 1 && record.count >= 0;
  if (!is_complete) return refuse(QM_W("(param)"));
  const std::int32_t written = convert(*record.source, record);
  if (written == kConversionFailed) return false;
  record.id = record.source->id();
  record.size = written;
  return true;
}

bool variant_convert(qm_variant_convert& record) {
  const VariantsReadGuard guard;
  return convert_variant(record);
}

}  // namespace qmsd
