// What a text says, and the same text in another form.
#include "variant/text_conversion.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "services/text/numbers.h"
#include "services/text/strings.h"
#include "variant/ascii_prefix.h"
#include "variant/conversion_result.h"
#include "variant/element.h"
#include "variant/scratch.h"
#include "variant/text_target.h"
#include "variant/time/format.h"
#include "variant/time/parse.h"
#include "variant/types.h"
#include "variant/variant.h"

namespace qmsd {
namespace {

bool is_number(std::int32_t type) {
  return type == QM_TYPE_SIGNED || type == QM_TYPE_UNSIGNED || type == QM_TYPE_FLOATING;
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
  const std::int32_t width = std::min(record.size, record.capacity);
  if (width != sizeof bits) return refuse_conversion(QM_W("(tgtlen)"));
  std::memcpy(record.target, &bits, sizeof bits);
  return width;
}

// Converted by the locale; `convert` gives the elements written to a buffer of so many.
template <class Unit, class Convert>
std::int32_t write_converted(const qm_variant_convert& record, Convert convert) {
  auto* buffer = static_cast<Unit*>(record.target);
  const auto length = record.capacity / static_cast<std::int32_t>(sizeof(Unit));
  const std::size_t written = convert(buffer, length);
  buffer[length - 1] = 0;
  return static_cast<std::int32_t>(written);
}

std::int32_t write_as_utf8(std::string_view text, const qm_variant_convert& record) {
  Scratch<qm_wchar> wide(text.size() + 1);
  if (wide.text() == nullptr) return conversion_without_memory();
  mbs_to_wcs(wide.text(), static_cast<std::ptrdiff_t>(wide.length()), text.data());
  return write_utf8(static_cast<char*>(record.target), record.capacity, wide.text());
}

// Wide targets hold at least the terminator.
bool is_too_small(const qm_variant_convert& record) {
  return kind_of(record.type) == Kind::wide_text &&
         record.capacity < static_cast<std::int32_t>(sizeof(qm_wchar));
}

}  // namespace

std::int32_t convert_narrow_text(const qm_variant& source, const qm_variant_convert& record) {
  const std::string_view text = source.narrow_text();
  if (is_too_small(record)) return refuse_conversion(QM_W("(tgtlen)"));
  if (is_number(record.type)) return store_number(text, record);
  if (record.type == QM_TYPE_DATETIME) return store_date(text, record);
  if (record.type == QM_TYPE_TEXT_UTF8) return write_as_utf8(text, record);
  if (kind_of(record.type) == Kind::text) {
    return write_narrow(static_cast<char*>(record.target), record.capacity, text);
  }
  return write_converted<qm_wchar>(record, [text](qm_wchar* buffer, std::int32_t length) {
    return mbs_to_wcs(buffer, length, text.data());
  });
}

std::int32_t convert_wide_text(const qm_variant& source, const qm_variant_convert& record) {
  const WideView text = source.wide_text();
  if (is_too_small(record)) return refuse_conversion(QM_W("(tgtlen)"));
  if (is_number(record.type)) {
    AsciiPrefix ascii(text);
    return ascii ? store_number(ascii.view(), record) : conversion_without_memory();
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

}  // namespace qmsd
