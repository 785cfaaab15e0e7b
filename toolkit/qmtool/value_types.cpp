#include "toolkit/qmtool/value_types.h"

#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr ValueType kTypes[] = {
    {"i8", QM_TYPE_SIGNED, 1},    {"i16", QM_TYPE_SIGNED, 2},     {"i32", QM_TYPE_SIGNED, 4},
    {"i64", QM_TYPE_SIGNED, 8},   {"u8", QM_TYPE_UNSIGNED, 1},    {"u16", QM_TYPE_UNSIGNED, 2},
    {"u32", QM_TYPE_UNSIGNED, 4}, {"u64", QM_TYPE_UNSIGNED, 8},   {"f32", QM_TYPE_FLOATING, 4},
    {"f64", QM_TYPE_FLOATING, 8}, {"date", QM_TYPE_DATETIME, 8},  {"binary", QM_TYPE_BINARY, 0},
    {"text", QM_TYPE_TEXT, 0},    {"wide", QM_TYPE_WIDE_TEXT, 0}, {"utf8", QM_TYPE_TEXT_UTF8, 0},
};

const char* kind_of(std::int32_t type) {
  switch (type) {
    case QM_TYPE_EMPTY:
      return "nothing";
    case QM_TYPE_SIGNED:
      return "signed integer";
    case QM_TYPE_UNSIGNED:
      return "unsigned integer";
    case QM_TYPE_FLOATING:
      return "floating";
    case QM_TYPE_DATETIME:
      return "date-time";
    case QM_TYPE_BINARY:
      return "binary";
    case QM_TYPE_TEXT:
    case QM_TYPE_TEXT_UTF8:
      return "narrow text";
    case QM_TYPE_WIDE_TEXT:
      return "wide text";
    default:
      return "value";
  }
}

}  // namespace

std::span<const ValueType> value_types() { return kTypes; }

std::string describe_type(std::int32_t type, std::int32_t size) {
  const bool is_text =
      type == QM_TYPE_TEXT || type == QM_TYPE_TEXT_UTF8 || type == QM_TYPE_WIDE_TEXT;
  const auto count = static_cast<std::size_t>(is_text && size > 0 ? size - 1 : size);
  const std::string amount = type == QM_TYPE_WIDE_TEXT ? counted(count, "character", "characters")
                                                       : counted(count, "byte", "bytes");
  return std::string(kind_of(type)) + ", " + amount;
}

std::string text_of(const qm::Variant& variant) { return variant.convert<std::string>(); }

}  // namespace qmtool
