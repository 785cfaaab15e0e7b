// Conversion of whole variants and of array slices.
#include "variant/conversion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "kernel/errors/error_state.h"
#include "platform/heap.h"
#include "services/text/numbers.h"
#include "services/text/strings.h"
#include "variant/element.h"
#include "variant/element_converter.h"
#include "variant/text_target.h"
#include "variant/time/format.h"
#include "variant/time/parse.h"
#include "variant/types.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

std::int32_t refuse_conversion(const qm_wchar* condition) {
  refuse(condition);
  return kConversionFailed;
}
std::int32_t refuse_type() { return refuse_conversion(QM_W("(type)")); }

// A number of elements in memory, and where their conversions go.
struct Slice {
  std::int32_t type;  // of the source elements
  const std::byte* elements;
  std::int32_t element_width;
  std::int32_t target_type;
  std::byte* targets;
  std::int32_t capacity;      // bytes at `targets`
  std::int32_t target_width;  // bytes from one target to the next
  std::int32_t count;
};

// The sum of what was written, or -1. The capacity has been checked for more than one element.
std::int32_t convert_slice(const Slice& slice) {
  const ElementConverter converter = element_converter(slice.type, slice.target_type);
  if (converter == nullptr) return refuse_type();
  std::int32_t total = 0;
  for (std::int32_t at = 0; at < slice.count; ++at) {
    const std::ptrdiff_t source_offset = std::ptrdiff_t{at} * slice.element_width;
    const std::ptrdiff_t target_offset = std::ptrdiff_t{at} * slice.target_width;
    const ConversionTarget target{slice.targets + target_offset,
                                  static_cast<std::int32_t>(slice.capacity - target_offset),
                                  slice.target_width};
    const std::int32_t written =
        converter(target, {slice.elements + source_offset, slice.element_width});
    if (written == kConversionFailed) return kConversionFailed;
    total += written;
  }
  return total;
}

bool is_text(std::int32_t type) {
  return kind_of(type) == Kind::text || kind_of(type) == Kind::wide_text;
}

// Can `count` elements of that width lie in the buffer?
bool fits(std::int32_t count, std::int32_t width, std::int32_t capacity) {
  return std::int64_t{count} * width <= capacity;
}

// ---- Scalars and arrays ----

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

// ---- Texts ----

// A text's characters up to its first terminator.
std::string_view narrow_text(const qm_variant& source) {
  return reinterpret_cast<const char*>(source.data().data());
}
WideView wide_text(const qm_variant& source) {
  return reinterpret_cast<const qm_wchar*>(source.data().data());
}

// A wide text's leading ASCII, for reading numbers. Null, with an error, when memory is exhausted.
OwnedNarrow leading_ascii(WideView text) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](qm_wchar unit) { return unit >= 0x80; });
  const auto length = static_cast<std::size_t>(end - text.begin());
  OwnedNarrow ascii(static_cast<char*>(platform::heap_allocate(length + 1)));
  if (!ascii) {
    fail(QM_ERROR_NO_MEMORY);
    return nullptr;
  }
  std::transform(text.begin(), end, ascii.get(),
                 [](qm_wchar unit) { return static_cast<char>(unit); });
  ascii[length] = 0;
  return ascii;
}

std::int32_t store_number(std::string_view text, const qm_variant_convert& record) {
  const std::int32_t width = std::min(record.size, record.capacity);
  const bool stored = record.type == QM_TYPE_FLOATING
                          ? store_floating(record.target, width, read_floating(text).value)
                          : store_integer(record.target, width, read_decimal(text).value);
  return stored ? width : refuse_conversion(QM_W("(tgtlen)"));
}

std::int32_t store_date(std::string_view text, const qm_variant_convert& record) {
  const std::uint64_t bits = parse_date_time(text).bits();
  if (std::min(record.size, record.capacity) != sizeof bits)
    return refuse_conversion(QM_W("(tgtlen)"));
  std::memcpy(record.target, &bits, sizeof bits);
  return sizeof bits;
}

bool is_number(std::int32_t type) {
  return type == QM_TYPE_SIGNED || type == QM_TYPE_UNSIGNED || type == QM_TYPE_FLOATING;
}

// Converted by the locale into the target; `convert` gives the elements written.
template <class Unit, class Convert>
std::int32_t write_converted(const qm_variant_convert& record, Convert convert) {
  auto* buffer = static_cast<Unit*>(record.target);
  const auto length = record.capacity / static_cast<std::int32_t>(sizeof(Unit));
  const std::size_t written = convert(buffer, length);
  buffer[length - 1] = 0;
  return static_cast<std::int32_t>(written);
}

std::int32_t convert_narrow_text(const qm_variant& source, const qm_variant_convert& record) {
  const std::string_view text = narrow_text(source);
  if (is_number(record.type)) return store_number(text, record);
  if (record.type == QM_TYPE_DATETIME) return store_date(text, record);
  if (record.type == QM_TYPE_TEXT_UTF8) {
    const OwnedText wide = wcs_dup_from_mbs(text.data());
    if (!wide) {
      fail(QM_ERROR_NO_MEMORY);
      return kConversionFailed;
    }
    return write_utf8(static_cast<char*>(record.target), record.capacity, wide.get());
  }
  if (kind_of(record.type) == Kind::text) {
    return write_narrow(static_cast<char*>(record.target), record.capacity, text);
  }
  return write_converted<qm_wchar>(record, [text](qm_wchar* buffer, std::int32_t length) {
    return mbs_to_wcs(buffer, length, text.data());
  });
}

std::int32_t convert_wide_text(const qm_variant& source, const qm_variant_convert& record) {
  const WideView text = wide_text(source);
  if (is_number(record.type)) {
    const OwnedNarrow ascii = leading_ascii(text);
    return ascii ? store_number(ascii.get(), record) : kConversionFailed;
  }
  if (record.type == QM_TYPE_DATETIME) {
    char narrow[kDefaultFormSize];
    wcs_to_mbs(narrow, kDefaultFormSize, text.data());
    return store_date(narrow, record);
  }
  if (record.type == QM_TYPE_TEXT_UTF8) {
    return write_utf8(static_cast<char*>(record.target), record.capacity, text);
  }
  if (kind_of(record.type) == Kind::wide_text) {
    return write_wide(static_cast<qm_wchar*>(record.target), record.capacity, text);
  }
  return write_converted<char>(record, [text](char* buffer, std::int32_t size) {
    return wcs_to_mbs(buffer, size, text.data());
  });
}

std::int32_t convert_text(const qm_variant& source, const qm_variant_convert& record,
                          std::int32_t count) {
  if (count > 1) return is_text(record.type) ? refuse_type() : refuse_conversion(QM_W("(ix)"));
  if (kind_of(record.type) == Kind::wide_text &&
      record.capacity < static_cast<std::int32_t>(sizeof(qm_wchar))) {
    return refuse_conversion(QM_W("(tgtlen)"));
  }
  return source.kind() == Kind::text ? convert_narrow_text(source, record)
                                     : convert_wide_text(source, record);
}

// ---- Raw bytes and objects ----

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

// ---- Array slices ----

// The order of the checks is part of the contract.
bool check_slice(const qm_variant_array& record, bool is_reading) {
  if (record.variant == nullptr) return refuse(QM_W("(variant)"));
  if (record.count < 1) return fail(QM_ERROR_ARGUMENT);
  if (record.buffer == nullptr || record.capacity < 1) return refuse(QM_W("(target || tgtlen)"));
  const bool is_scalar = kind_of(record.type) == Kind::scalar;
  const bool is_single_text = is_reading && is_text(record.type) && record.count == 1;
  if (record.variant->kind() != Kind::array || !(is_scalar || is_single_text)) {
    return refuse(QM_W("(type)"));
  }
  const std::int64_t end = std::int64_t{record.first} + record.count;
  if (record.first < 0 || end > record.variant->item_count()) return refuse(QM_W("(ix)"));
  if (!is_reading && !is_element_width(record.type, record.width)) {
    return refuse(QM_W("(srclen)"));
  }
  const bool is_checked = !is_reading || record.count > 1;
  if (is_checked && !fits(record.count, record.width, record.capacity)) {
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

bool variant_read_array(qm_variant_array& record) {
  const VariantsReadGuard guard;
  if (!check_slice(record, true)) return false;
  const qm_variant& array = *record.variant;
  return convert_slice({element_type(array.type()), elements_from(record).data(), array.size(),
                        record.type, static_cast<std::byte*>(record.buffer), record.capacity,
                        record.width, record.count}) != kConversionFailed;
}

bool variant_write_array(qm_variant_array& record) {
  const VariantsWriteGuard guard;
  if (!check_slice(record, false)) return false;
  const qm_variant& array = *record.variant;
  const auto elements = elements_from(record);
  return convert_slice(
             {record.type, static_cast<const std::byte*>(record.buffer), record.width,
              element_type(array.type()), elements.data(),
              static_cast<std::int32_t>(std::min<std::size_t>(elements.size(), INT32_MAX)),
              array.size(), record.count}) != kConversionFailed;
}

}  // namespace qmsd
