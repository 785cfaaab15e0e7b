// Where the fields of every record lie. On 32-bit Windows records are arrays of 32-bit fields; on
// 64-bit systems pointers and call entries widen and everything lies at its natural alignment.
#include <cstddef>
#include <type_traits>

#include "include/qmsd7.h"

namespace {

static_assert(sizeof(qm_wchar) == 2);
static_assert(std::is_same_v<decltype(QM_W("x")), const qm_wchar (&)[2]>);
static_assert(std::is_same_v<qm_call_fn, decltype(&qm_call)>);

constexpr bool kFieldsAreWords = sizeof(void*) == 4;

// Offset of a field: its index on 32 bit, what the natural alignment gives on 64 bit.
constexpr bool lies_at(std::size_t offset, std::size_t index, std::size_t natural) {
  return offset == (kFieldsAreWords ? 4 * index : natural);
}
constexpr bool has_size(std::size_t size, std::size_t fields, std::size_t natural) {
  return size == (kFieldsAreWords ? 4 * fields : natural);
}

#define FIELD(record, field, index, natural) \
  static_assert(lies_at(offsetof(record, field), index, natural), #record "::" #field)
#define RECORD(record, fields, natural)                                         \
  static_assert(has_size(sizeof(record), fields, natural), "size of " #record); \
  static_assert(std::is_standard_layout_v<record> && std::is_trivial_v<record>, #record)

RECORD(qm_get_error_w, 3, 24);
FIELD(qm_get_error_w, code, 0, 0);
FIELD(qm_get_error_w, text, 1, 8);
FIELD(qm_get_error_w, length, 2, 16);

RECORD(qm_get_error_a, 3, 24);
FIELD(qm_get_error_a, code, 0, 0);
FIELD(qm_get_error_a, text, 1, 8);
FIELD(qm_get_error_a, length, 2, 16);

RECORD(qm_set_error_w, 4, 24);
FIELD(qm_set_error_w, flags, 0, 0);
FIELD(qm_set_error_w, code, 1, 4);
FIELD(qm_set_error_w, text, 2, 8);
FIELD(qm_set_error_w, arguments, 3, 16);

RECORD(qm_set_error_a, 4, 24);
FIELD(qm_set_error_a, flags, 0, 0);
FIELD(qm_set_error_a, code, 1, 4);
FIELD(qm_set_error_a, text, 2, 8);
FIELD(qm_set_error_a, arguments, 3, 16);

RECORD(qm_error_text, 2, 16);
FIELD(qm_error_text, code, 0, 0);
FIELD(qm_error_text, text, 1, 8);

RECORD(qm_add_error_texts, 2, 16);
FIELD(qm_add_error_texts, count, 0, 0);
FIELD(qm_add_error_texts, pairs, 1, 8);

RECORD(qm_realloc, 2, 16);
FIELD(qm_realloc, pointer, 0, 0);
FIELD(qm_realloc, size, 1, 8);

RECORD(qm_mem_size, 2, 16);
FIELD(qm_mem_size, pointer, 0, 0);
FIELD(qm_mem_size, size, 1, 8);

RECORD(qm_realloc_pos, 4, 32);
FIELD(qm_realloc_pos, pointer, 0, 0);
FIELD(qm_realloc_pos, size, 1, 8);
FIELD(qm_realloc_pos, file, 2, 16);
FIELD(qm_realloc_pos, line, 3, 24);

RECORD(qm_mem_info, 8, 56);
FIELD(qm_mem_info, index, 0, 0);
FIELD(qm_mem_info, file, 1, 8);
FIELD(qm_mem_info, file_size, 2, 16);
FIELD(qm_mem_info, dump, 3, 24);
FIELD(qm_mem_info, dump_size, 4, 32);
FIELD(qm_mem_info, line, 5, 36);
FIELD(qm_mem_info, capacity, 6, 40);
FIELD(qm_mem_info, pointer, 7, 48);

RECORD(qm_slot, 2, 16);
FIELD(qm_slot, id, 0, 0);
FIELD(qm_slot, data, 1, 8);

RECORD(qm_file, 4, 24);
FIELD(qm_file, data, 0, 0);
FIELD(qm_file, filename, 1, 8);
FIELD(qm_file, size, 2, 16);
FIELD(qm_file, kind, 3, 20);

RECORD(qm_open_module_w, 3, 24);
FIELD(qm_open_module_w, name, 0, 0);
FIELD(qm_open_module_w, group, 1, 8);
FIELD(qm_open_module_w, handle, 2, 16);

RECORD(qm_open_module_a, 3, 24);
FIELD(qm_open_module_a, name, 0, 0);
FIELD(qm_open_module_a, group, 1, 8);
FIELD(qm_open_module_a, handle, 2, 16);

RECORD(qm_handle_ref, 1, 4);
FIELD(qm_handle_ref, handle, 0, 0);

RECORD(qm_resolve_handle, 4, 24);
FIELD(qm_resolve_handle, handle, 0, 0);
FIELD(qm_resolve_handle, owner_handle, 1, 4);
FIELD(qm_resolve_handle, library, 2, 8);
FIELD(qm_resolve_handle, entry, 3, 16);

RECORD(qm_module_info, 5, 32);
FIELD(qm_module_info, id, 0, 0);
FIELD(qm_module_info, version, 1, 4);
FIELD(qm_module_info, description, 2, 8);
FIELD(qm_module_info, description_wide, 3, 16);
FIELD(qm_module_info, call, 4, 24);

RECORD(qm_extended_info, 6, 40);
FIELD(qm_extended_info, id, 0, 0);
FIELD(qm_extended_info, word1, 1, 4);
FIELD(qm_extended_info, word2, 2, 8);
FIELD(qm_extended_info, word3, 3, 16);
FIELD(qm_extended_info, word4, 4, 24);
FIELD(qm_extended_info, call, 5, 32);

RECORD(qm_info_request, 1, 8);
FIELD(qm_info_request, info, 0, 0);

RECORD(qm_kernel_entry, 1, 8);
FIELD(qm_kernel_entry, entry, 0, 0);

RECORD(qm_list_modules_w, 5, 40);
FIELD(qm_list_modules_w, reserved, 0, 0);
FIELD(qm_list_modules_w, pattern, 1, 8);
FIELD(qm_list_modules_w, paths, 2, 16);
FIELD(qm_list_modules_w, versions, 3, 24);
FIELD(qm_list_modules_w, count, 4, 32);

RECORD(qm_list_modules_a, 5, 40);
FIELD(qm_list_modules_a, reserved, 0, 0);
FIELD(qm_list_modules_a, pattern, 1, 8);
FIELD(qm_list_modules_a, paths, 2, 16);
FIELD(qm_list_modules_a, versions, 3, 24);
FIELD(qm_list_modules_a, count, 4, 32);

RECORD(qm_version_pair, 2, 16);
FIELD(qm_version_pair, key, 0, 0);
FIELD(qm_version_pair, value, 1, 8);

RECORD(qm_version_props, 3, 24);
FIELD(qm_version_props, count, 0, 0);
FIELD(qm_version_props, pairs, 1, 8);

RECORD(qm_version_info_w, 2, 16);
FIELD(qm_version_info_w, file, 0, 0);
FIELD(qm_version_info_w, props, 1, 8);

RECORD(qm_version_info_a, 2, 16);
FIELD(qm_version_info_a, file, 0, 0);
FIELD(qm_version_info_a, props, 1, 8);

RECORD(qm_module_version, 1, 8);
FIELD(qm_module_version, props, 0, 0);

RECORD(qm_object_data, 6, 32);
FIELD(qm_object_data, value, 0, 0);
FIELD(qm_object_data, module, 1, 8);
FIELD(qm_object_data, codes, 2, 16);

RECORD(qm_variant_create, 7, 48);
FIELD(qm_variant_create, variant, 0, 0);
FIELD(qm_variant_create, id, 1, 8);
FIELD(qm_variant_create, name, 2, 16);
FIELD(qm_variant_create, type, 3, 24);
FIELD(qm_variant_create, size, 4, 28);
FIELD(qm_variant_create, nitems, 5, 32);
FIELD(qm_variant_create, data, 6, 40);

RECORD(qm_variant_copy, 2, 16);
FIELD(qm_variant_copy, source, 0, 0);
FIELD(qm_variant_copy, copy, 1, 8);

RECORD(qm_variant_info, 6, 32);
FIELD(qm_variant_info, variant, 0, 0);
FIELD(qm_variant_info, id, 1, 8);
FIELD(qm_variant_info, type, 2, 12);
FIELD(qm_variant_info, size, 3, 16);
FIELD(qm_variant_info, nitems, 4, 20);
FIELD(qm_variant_info, nattributes, 5, 24);

RECORD(qm_variant_info_name, 8, 48);
FIELD(qm_variant_info_name, variant, 0, 0);
FIELD(qm_variant_info_name, id, 1, 8);
FIELD(qm_variant_info_name, name, 2, 16);
FIELD(qm_variant_info_name, length, 3, 24);
FIELD(qm_variant_info_name, type, 4, 28);
FIELD(qm_variant_info_name, size, 5, 32);
FIELD(qm_variant_info_name, nitems, 6, 36);
FIELD(qm_variant_info_name, nattributes, 7, 40);

RECORD(qm_variant_child, 6, 40);
FIELD(qm_variant_child, holder, 0, 0);
FIELD(qm_variant_child, flags, 1, 8);
FIELD(qm_variant_child, id, 2, 12);
FIELD(qm_variant_child, index, 3, 16);
FIELD(qm_variant_child, name, 4, 24);
FIELD(qm_variant_child, child, 5, 32);

RECORD(qm_variant_attribute_position, 4, 24);
FIELD(qm_variant_attribute_position, holder, 0, 0);
FIELD(qm_variant_attribute_position, attribute, 1, 8);
FIELD(qm_variant_attribute_position, id, 2, 16);
FIELD(qm_variant_attribute_position, index, 3, 20);

RECORD(qm_variant_convert, 7, 40);
FIELD(qm_variant_convert, source, 0, 0);
FIELD(qm_variant_convert, id, 1, 8);
FIELD(qm_variant_convert, type, 2, 12);
FIELD(qm_variant_convert, size, 3, 16);
FIELD(qm_variant_convert, count, 4, 20);
FIELD(qm_variant_convert, target, 5, 24);
FIELD(qm_variant_convert, capacity, 6, 32);

RECORD(qm_variant_array, 7, 40);
FIELD(qm_variant_array, variant, 0, 0);
FIELD(qm_variant_array, width, 1, 8);
FIELD(qm_variant_array, type, 2, 12);
FIELD(qm_variant_array, first, 3, 16);
FIELD(qm_variant_array, count, 4, 20);
FIELD(qm_variant_array, buffer, 5, 24);
FIELD(qm_variant_array, capacity, 6, 32);

RECORD(qm_variant_path_w, 3, 24);
FIELD(qm_variant_path_w, root, 0, 0);
FIELD(qm_variant_path_w, path, 1, 8);
FIELD(qm_variant_path_w, result, 2, 16);

RECORD(qm_variant_path_a, 3, 24);
FIELD(qm_variant_path_a, root, 0, 0);
FIELD(qm_variant_path_a, path, 1, 8);
FIELD(qm_variant_path_a, result, 2, 16);

RECORD(qm_variant_path_value_w, 8, 48);
FIELD(qm_variant_path_value_w, root, 0, 0);
FIELD(qm_variant_path_value_w, path, 1, 8);
FIELD(qm_variant_path_value_w, id, 2, 16);
FIELD(qm_variant_path_value_w, type, 3, 20);
FIELD(qm_variant_path_value_w, size, 4, 24);
FIELD(qm_variant_path_value_w, count, 5, 28);
FIELD(qm_variant_path_value_w, target, 6, 32);
FIELD(qm_variant_path_value_w, capacity, 7, 40);

RECORD(qm_variant_path_value_a, 8, 48);
FIELD(qm_variant_path_value_a, root, 0, 0);
FIELD(qm_variant_path_value_a, path, 1, 8);
FIELD(qm_variant_path_value_a, id, 2, 16);
FIELD(qm_variant_path_value_a, type, 3, 20);
FIELD(qm_variant_path_value_a, size, 4, 24);
FIELD(qm_variant_path_value_a, count, 5, 28);
FIELD(qm_variant_path_value_a, target, 6, 32);
FIELD(qm_variant_path_value_a, capacity, 7, 40);

RECORD(qm_property_text, 3, 24);
FIELD(qm_property_text, path, 0, 0);
FIELD(qm_property_text, text, 1, 8);
FIELD(qm_property_text, length, 2, 16);

#undef FIELD
#undef RECORD

// The numbers that callers have compiled in.
static_assert(QM_CALL_NOP == 0x1000000F && QM_CALL_LISTMODULESW == 0x10000010 &&
              QM_CALL_LISTMODULESA == 0x10000011 && QM_CALL_RESOLVEHANDLE == 0x1000F000);
static_assert(QM_CALL_GETERRORW == 0x10010000 && QM_CALL_GETERRORA == 0x10010001 &&
              QM_CALL_SETERRORW == 0x10010002 && QM_CALL_SETERRORA == 0x10010003 &&
              QM_CALL_PUSHERROR == 0x10010004 && QM_CALL_POPERROR == 0x10010005 &&
              QM_CALL_ADDERRORTEXTS == 0x1001000F);
static_assert(QM_CALL_REALLOC == 0x10020000 && QM_CALL_MEMSIZE == 0x10020001 &&
              QM_CALL_REALLOCPOS == 0x10020002 && QM_CALL_MEMCHECK == 0x10020003 &&
              QM_CALL_MEMINFO == 0x10020004 && QM_CALL_SLOTCREATE == 0x10020005 &&
              QM_CALL_SLOTJOIN == 0x10020006 && QM_CALL_SLOTRELEASE == 0x10020007 &&
              QM_CALL_READFILE == 0x10020008 && QM_CALL_WRITEFILE == 0x10020009);
static_assert(QM_CALL_OPENMODULEW == 0x10030000 && QM_CALL_OPENMODULEA == 0x10030001 &&
              QM_CALL_CLOSEHANDLE == 0x10030002 && QM_CALL_GETKERNELINFO == 0x10030004 &&
              QM_CALL_CLOSE == 0x10030005 && QM_CALL_REFHANDLE == 0x10030006 &&
              QM_CALL_UNREFHANDLE == 0x10030007 && QM_CALL_MODULEVERSIONINFO == 0x10030012 &&
              QM_CALL_VERSIONINFOW == 0x10030013 && QM_CALL_VERSIONINFOA == 0x10030014 &&
              QM_CALL_SETKERNELENTRY == 0x1003FFFF);
static_assert(QM_CALL_VARIANTREF == 0x10040000 &&
              QM_CALL_VARIANTINSERTATTRIBUTEDIRECT == 0x1004002A);
static_assert(QM_KERNEL_VERSION == 0x0703011D && QM_MODULE_ID == 0x716D0000 &&
              QM_EXTENDED_MODULE_ID == 0x386A56B6 && QM_PROPERTY_HANDLE == 0xFFFF1100);

}  // namespace
