// What the type codes mean: kinds, element types and the sizes each type is created with.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

enum class Kind { unknown, empty, scalar, array, container, binary, text, wide_text, object };

constexpr Kind kind_of(std::int32_t type) {
  switch (type) {
    case QM_TYPE_EMPTY:
      return Kind::empty;
    case QM_TYPE_SIGNED:
    case QM_TYPE_UNSIGNED:
    case QM_TYPE_FLOATING:
    case QM_TYPE_DATETIME:
      return Kind::scalar;
    case QM_TYPE_SIGNED_ARRAY:
    case QM_TYPE_UNSIGNED_ARRAY:
    case QM_TYPE_FLOATING_ARRAY:
    case QM_TYPE_DATETIME_ARRAY:
      return Kind::array;
    case QM_TYPE_CONTAINER:
      return Kind::container;
    case QM_TYPE_BINARY:
      return Kind::binary;
    case QM_TYPE_TEXT:
    case QM_TYPE_TEXT_AUTO:
    case QM_TYPE_TEXT_UTF8:
      return Kind::text;
    case QM_TYPE_WIDE_TEXT:
    case QM_TYPE_WIDE_TEXT_AUTO:
    case QM_TYPE_WIDE_TEXT_UTF8:
      return Kind::wide_text;
    case QM_TYPE_OBJECT:
      return Kind::object;
    default:
      return Kind::unknown;  // the empty array, too, is no type a variant can have
  }
}

// Whether the type is narrow or wide text, flavours included.
constexpr bool is_text(std::int32_t type) {
  return kind_of(type) == Kind::text || kind_of(type) == Kind::wide_text;
}

// The scalar type of an array's elements; scalar types stand for themselves.
constexpr std::int32_t element_type(std::int32_t type) {
  return kind_of(type) == Kind::array ? type - QM_TYPE_SIGNED_ARRAY + QM_TYPE_SIGNED : type;
}

// Whether an element of the scalar type may be so many bytes wide.
constexpr bool is_element_width(std::int32_t scalar_type, std::int32_t width) {
  switch (scalar_type) {
    case QM_TYPE_SIGNED:
    case QM_TYPE_UNSIGNED:
      return width == 1 || width == 2 || width == 4 || width == 8;
    case QM_TYPE_FLOATING:
      return width == 4 || width == 8;
    default:
      return scalar_type == QM_TYPE_DATETIME && width == 8;
  }
}

// The size a variant of the type may be created with.
constexpr bool is_creation_size(std::int32_t type, std::int32_t size) {
  switch (kind_of(type)) {
    case Kind::scalar:
      return size == 0 || is_element_width(type, size);
    case Kind::array:
      return is_element_width(element_type(type), size);
    case Kind::binary:
      return size >= 0;
    case Kind::text:
    case Kind::wide_text:
      return size >= 1;
    case Kind::object:
      return size >= 4;
    default:
      return size == 0;
  }
}

}  // namespace qmsd
