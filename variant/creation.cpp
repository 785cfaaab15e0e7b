// Creation: checks the request, then builds the value in the variant.
#include "variant/creation.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "kernel/errors/error_state.h"
#include "platform/heap.h"
#include "services/text/text.h"
#include "variant/ascii_prefix.h"
#include "variant/element.h"
#include "variant/object_owner.h"
#include "variant/text_flavours.h"
#include "variant/types.h"
#include "variant/variant.h"

namespace qmsd {
namespace {

// Only arrays have several elements, and a container's items are added later.
bool is_item_count(Kind kind, std::int32_t nitems) {
  switch (kind) {
    case Kind::array:
    case Kind::empty:
    case Kind::unknown:
      return true;
    case Kind::container:
      return nitems == 0;
    default:
      return nitems <= 1;
  }
}

bool needs_data(Kind kind) {
  return kind == Kind::binary || kind == Kind::text || kind == Kind::wide_text ||
         kind == Kind::object;
}

bool check(const qm_variant_create& request) {
  const Kind kind = kind_of(request.type);
  const bool has_data = request.data != nullptr;
  if (request.nitems < 0 || has_data != (request.nitems != 0)) return refuse(QM_W("(items)"));
  if (!is_item_count(kind, request.nitems)) return refuse(QM_W("(items)"));
  if (kind == Kind::unknown) return refuse(QM_W("(type)"));
  if (kind == Kind::empty) {
    return (request.size == 0 && request.nitems == 0) || refuse(QM_W("(size || nitems)"));
  }
  if (!is_creation_size(request.type, request.size)) return refuse(QM_W("(size)"));
  if (needs_data(kind) && !has_data) return refuse(QM_W("(data)"));
  return true;
}

// Null, with an error recorded, when memory is exhausted.
Bytes copy_bytes(const void* from, std::int64_t size) {
  if (size > INT32_MAX) {
    fail(QM_ERROR_NO_MEMORY);
    return nullptr;
  }
  const auto length = static_cast<std::size_t>(size);
  Bytes copy = platform::heap_array<std::byte>(length);
  if (!copy) {
    fail(QM_ERROR_NO_MEMORY);
    return nullptr;
  }
  std::memcpy(copy.get(), from, length);
  return copy;
}

bool store_scalar(qm_variant& variant, const qm_variant_create& request) {
  const bool has_value = request.data != nullptr && request.size != 0;
  const std::int64_t bits = has_value ? widen_element(request.type, request.data, request.size) : 0;
  variant.become_scalar(request.type, request.size, bits);
  return true;
}

bool store_array(qm_variant& variant, const qm_variant_create& request) {
  Bytes data;
  if (request.nitems != 0) {
    data = copy_bytes(request.data, std::int64_t{request.nitems} * request.size);
    if (!data) return false;
  }
  variant.become_block(request.type, request.size, request.nitems, std::move(data));
  return true;
}

bool store_binary(qm_variant& variant, const qm_variant_create& request) {
  Bytes data;
  if (request.size != 0) {
    data = copy_bytes(request.data, request.size);
    if (!data) return false;
  }
  variant.become_block(request.type, request.size, 1, std::move(data));
  return true;
}

bool become_recognised(qm_variant& variant, std::string_view text) {
  const auto scalar = recognise_scalar(text.substr(0, text.find('\0')));
  if (!scalar) return false;
  variant.become_scalar(scalar->type, scalar->size, scalar->bits);
  return true;
}

// Malformed text is no failure: the variant then holds it as plain text.
enum class Decoded { yes, malformed, no_memory };

Decoded become_decoded(qm_variant& variant, std::string_view utf8) {
  const auto units = utf16_from_utf8(utf8, nullptr);
  if (!units) return Decoded::malformed;
  Bytes wide = platform::heap_array<std::byte>((*units + 1) * sizeof(qm_wchar));
  if (!wide) return Decoded::no_memory;
  auto* text = reinterpret_cast<qm_wchar*>(wide.get());
  utf16_from_utf8(utf8, text);
  text[*units] = 0;
  variant.become_block(QM_TYPE_WIDE_TEXT, static_cast<std::int32_t>(*units + 1), 1,
                       std::move(wide));
  return Decoded::yes;
}

// Texts are examined after copying, because only the copy is certain to be terminated.
bool store_text(qm_variant& variant, const qm_variant_create& request) {
  Bytes data = copy_bytes(request.data, request.size);
  if (!data) return false;
  const auto length = static_cast<std::size_t>(request.size) - 1;
  auto* units = reinterpret_cast<char*>(data.get());
  units[length] = 0;
  const std::string_view text(units, length);
  if (request.type == QM_TYPE_TEXT_AUTO && become_recognised(variant, text)) return true;
  if (request.type == QM_TYPE_TEXT_UTF8) {
    const Decoded decoded = become_decoded(variant, text);
    if (decoded == Decoded::yes) return true;
    if (decoded == Decoded::no_memory) return fail(QM_ERROR_NO_MEMORY);
  }
  variant.become_block(QM_TYPE_TEXT, request.size, 1, std::move(data));
  return true;
}

// Only ASCII text can be a number or a date-time.
Decoded become_recognised(qm_variant& variant, WideView text) {
  text = text.substr(0, text.find(qm_wchar{0}));
  AsciiPrefix ascii(text);
  if (!ascii) return Decoded::no_memory;
  const bool recognised =
      ascii.view().size() == text.size() && become_recognised(variant, ascii.view());
  return recognised ? Decoded::yes : Decoded::malformed;
}

bool store_wide_text(qm_variant& variant, const qm_variant_create& request) {
  const auto unit = static_cast<std::int64_t>(sizeof(qm_wchar));
  Bytes data = copy_bytes(request.data, request.size * unit);
  if (!data) return false;
  const auto length = static_cast<std::size_t>(request.size) - 1;
  auto* units = reinterpret_cast<qm_wchar*>(data.get());
  units[length] = 0;
  if (request.type == QM_TYPE_WIDE_TEXT_AUTO) {
    const Decoded decoded = become_recognised(variant, WideView(units, length));
    if (decoded == Decoded::yes) return true;
    if (decoded == Decoded::no_memory) return fail(QM_ERROR_NO_MEMORY);
  }
  variant.become_block(QM_TYPE_WIDE_TEXT, request.size, 1, std::move(data));
  return true;
}

bool store_object(qm_variant& variant, const qm_variant_create& request) {
  const auto& object = *static_cast<const qm_object_data*>(request.data);
  if (object.module == nullptr) return refuse(QM_W("(cdata)"));
  const auto word = static_cast<std::int64_t>(sizeof(std::uint32_t));
  Bytes codes = copy_bytes(object.codes, request.size * word);
  if (!codes) return false;
  OwnedText module = copy_text(object.module);
  if (!module) return fail(QM_ERROR_NO_MEMORY);
  variant.become_object(request.size, object.value, std::move(module), std::move(codes));
  return true;
}

bool store_value(qm_variant& variant, const qm_variant_create& request) {
  switch (kind_of(request.type)) {
    case Kind::scalar:
      return store_scalar(variant, request);
    case Kind::array:
      return store_array(variant, request);
    case Kind::binary:
      return store_binary(variant, request);
    case Kind::text:
      return store_text(variant, request);
    case Kind::wide_text:
      return store_wide_text(variant, request);
    case Kind::object:
      return store_object(variant, request);
    case Kind::container:
      variant.become_container();
      return true;
    default:
      return true;
  }
}

}  // namespace

VariantOwner create_variant(const qm_variant_create& request) {
  if (!check(request)) return VariantOwner();
  auto variant = platform::heap_new<qm_variant>();
  if (!variant || !variant->set_name(request.name)) {
    fail(QM_ERROR_NO_MEMORY);
    return VariantOwner();
  }
  variant->set_id(request.id);
  if (!store_value(*variant, request)) return VariantOwner();
  if (variant->kind() == Kind::object) take_object(variant->object());
  return VariantOwner(variant.release());
}

}  // namespace qmsd
