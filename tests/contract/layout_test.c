/* The public header alone, in C: this file includes nothing else. */
#include "include/qmsd7.h"

int qmsd_header_compiles_in_c(void);

/* One object of every record, so that each is a complete C type. */
int qmsd_header_compiles_in_c(void) {
  qm_get_error_w get_w = {0, 0, 0};
  qm_get_error_a get_a = {0, 0, 0};
  qm_set_error_w set_w = {QM_SET_ERROR_LITERAL, QM_ERROR_ARGUMENT, QM_W("wide"), 0};
  qm_set_error_a set_a = {QM_SET_ERROR_APPEND, QM_ERROR_NOT_FOUND, "narrow", 0};
  qm_error_text pair = {QM_ERROR_RANGE, QM_W("text")};
  qm_add_error_texts texts = {1, &pair};
  qm_realloc block = {0, 0};
  qm_mem_size size = {0, 0};
  qm_realloc_pos positioned = {0, 0, __FILE__, __LINE__};
  qm_mem_info info = {0, 0, 0, 0, 0, 0, 0, 0};
  qm_open_module_w open_w = {QM_W("name"), 0, 0};
  qm_open_module_a open_a = {"name", 0, 0};
  qm_handle_ref handle = {QM_PROPERTY_HANDLE};
  qm_resolve_handle resolve = {0, 0, 0, 0};
  qm_module_info module = {QM_MODULE_ID, QM_KERNEL_VERSION, "narrow", QM_W("wide"), 0};
  qm_extended_info extended = {QM_EXTENDED_MODULE_ID, 0, 0, 0, 0, 0};
  qm_info_request request = {&module};
  qm_kernel_entry entry = {0};
  qm_list_modules_w list_w = {0, QM_W("*"), 0, 0, 0};
  qm_list_modules_a list_a = {0, "*", 0, 0, 0};
  qm_version_props props = {0, {{0, 0}}};
  qm_version_info_w version_w = {QM_W("file"), &props};
  qm_version_info_a version_a = {"file", &props};
  qm_module_version version = {&props};
  qm_property_text property = {QM_W("/default/groups"), 0, 0};
  qm_object_data object = {0, QM_W("module"), {0, 0, 0, 0}};
  qm_variant_create create = {0, 0, QM_W("name"), QM_TYPE_OBJECT, 4, 1, &object};
  qm_variant_copy copy = {0, 0};
  qm_variant_info facts = {0, 0, 0, 0, 0, 0};
  qm_variant_info_name named = {0, 0, 0, 0, 0, 0, 0, 0};
  qm_variant_child child = {0, QM_FIND_LAST, 0, 0, QM_W("name"), 0};
  qm_variant_attribute_position place = {0, 0, 0, 0};
  qm_variant_convert convert = {0, 0, QM_TYPE_SIGNED, 4, 1, 0, 4};
  qm_variant_array slice = {0, 4, QM_TYPE_SIGNED, 0, 1, 0, 4};
  qm_variant_path_w path_w = {0, QM_W("L,N=a"), 0};
  qm_variant_path_a path_a = {0, "L,N=a", 0};
  qm_variant_path_value_w value_w = {0, QM_W("a"), 0, QM_TYPE_TEXT, 4, 1, 0, 4};
  qm_variant_path_value_a value_a = {0, "a", 0, QM_TYPE_TEXT, 4, 1, 0, 4};
  qm_call_fn call = &qm_call;

  return get_w.code + get_a.code + set_w.code + set_a.code + texts.count + block.size + size.size +
         positioned.line + info.line + (int)open_w.handle + (int)open_a.handle +
         (int)handle.handle + (int)resolve.handle + (int)extended.id + (request.info == &module) +
         (entry.entry == call) + list_w.count + list_a.count + (version_w.props == &props) +
         (version_a.props == &props) + (version.props == &props) + property.length + create.nitems +
         (copy.copy == copy.source) + facts.id + named.id + (int)child.flags + place.index +
         convert.size + slice.width + (path_w.result == 0) + (path_a.result == 0) + value_w.size +
         value_a.size;
}
