// The kernel's function codes: code, handler, and through the handler's signature its record.
// This is the one place that knows a record only by its address.
#include "kernel/entry/function_table.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "include/qmsd7.h"
#include "kernel/entry/handle_table.h"
#include "kernel/entry/open_module.h"
#include "kernel/errors/error_calls.h"
#include "kernel/errors/error_state.h"
#include "memory/memory_calls.h"
#include "modules/kernel_info.h"
#include "modules/module_listing.h"
#include "modules/owned_library.h"
#include "modules/registry.h"
#include "modules/slots.h"
#include "modules/version_info.h"
#include "services/files/whole_file.h"
#include "variant/array_calls.h"
#include "variant/child_calls.h"
#include "variant/conversion.h"
#include "variant/path.h"
#include "variant/variant_calls.h"

namespace qmsd {
namespace {

bool nop() { return true; }

bool announce_close() {
  raise_closing_counter();
  return true;
}

using Handler = std::int32_t (*)(void* params);

// Gives every handler one shape. Handlers take no record, a typed one that must be there, or, where
// its absence means something to them, a pointer to it.
template <auto Serve>
std::int32_t call_with_record(bool (*)(), void*) {
  return Serve();
}
template <auto Serve, class Record>
std::int32_t call_with_record(bool (*)(Record&), void* params) {
  return params != nullptr ? Serve(*static_cast<Record*>(params)) : refuse(QM_W("(!ptr)"));
}
template <auto Serve, class Result, class Record>
std::int32_t call_with_record(Result (*)(Record*), void* params) {
  return Serve(static_cast<Record*>(params));
}
template <auto Serve>
std::int32_t by(void* params) {
  return call_with_record<Serve>(Serve, params);
}

struct Function {
  std::uint32_t code;
  Handler handler;
};

constexpr Function kFunctions[] = {
    {QM_CALL_NOP, by<nop>},
    {QM_CALL_LISTMODULESW, by<list_modules_wide>},
    {QM_CALL_LISTMODULESA, by<list_modules_narrow>},
    {QM_CALL_RESOLVEHANDLE, by<handle_resolve>},

    {QM_CALL_GETERRORW, by<get_error_wide>},
    {QM_CALL_GETERRORA, by<get_error_narrow>},
    {QM_CALL_SETERRORW, by<set_error_wide>},
    {QM_CALL_SETERRORA, by<set_error_narrow>},
    {QM_CALL_PUSHERROR, by<push_error>},
    {QM_CALL_POPERROR, by<pop_error>},
    {QM_CALL_ADDERRORTEXTS, by<add_error_texts>},

    {QM_CALL_REALLOC, by<memory_realloc>},
    {QM_CALL_MEMSIZE, by<memory_size>},
    {QM_CALL_REALLOCPOS, by<memory_realloc_position>},
    {QM_CALL_MEMCHECK, by<memory_check>},
    {QM_CALL_MEMINFO, by<memory_info>},
    {QM_CALL_SLOTCREATE, by<slot_create>},
    {QM_CALL_SLOTJOIN, by<slot_join>},
    {QM_CALL_SLOTRELEASE, by<slot_release>},
    {QM_CALL_READFILE, by<read_file>},
    {QM_CALL_WRITEFILE, by<write_file>},

    {QM_CALL_OPENMODULEW, by<open_module_wide>},
    {QM_CALL_OPENMODULEA, by<open_module_narrow>},
    {QM_CALL_CLOSEHANDLE, by<handle_release>},
    {QM_CALL_GETKERNELINFO, by<kernel_info>},
    {QM_CALL_CLOSE, by<announce_close>},
    {QM_CALL_REFHANDLE, by<handle_reference>},
    {QM_CALL_UNREFHANDLE, by<handle_release>},
    {QM_CALL_VERSIONINFOW, by<version_info_wide>},
    {QM_CALL_VERSIONINFOA, by<version_info_narrow>},

    {QM_CALL_VARIANTREF, by<variant_reference>},
    {QM_CALL_VARIANTRELEASE, by<variant_release>},
    {QM_CALL_VARIANTCREATE, by<variant_create>},
    {QM_CALL_VARIANTCOPY, by<variant_copy>},
    {QM_CALL_VARIANTRECREATE, by<variant_recreate>},
    {QM_CALL_VARIANTASSIGN, by<variant_assign>},
    {QM_CALL_VARIANTINFO, by<variant_info>},
    {QM_CALL_VARIANTCONVERT, by<variant_convert>},
    {QM_CALL_VARIANTGETITEM, by<item_get>},
    {QM_CALL_VARIANTTAKEITEM, by<item_take>},
    {QM_CALL_VARIANTITEMPOSITION, by<item_position>},
    {QM_CALL_VARIANTINSERTITEM, by<item_insert>},
    {QM_CALL_VARIANTDELETEITEM, by<item_delete>},
    {QM_CALL_VARIANTGETATTRIBUTE, by<attribute_get>},
    {QM_CALL_VARIANTTAKEATTRIBUTE, by<attribute_take>},
    {QM_CALL_VARIANTATTRIBUTEPOSITION, by<attribute_position>},
    {QM_CALL_VARIANTINSERTATTRIBUTE, by<attribute_insert>},
    {QM_CALL_VARIANTDELETEATTRIBUTE, by<attribute_delete>},
    {QM_CALL_VARIANTREADARRAY, by<variant_read_array>},
    {QM_CALL_VARIANTREADARRAYSHARED, by<variant_read_array>},
    {QM_CALL_VARIANTWRITEARRAY, by<variant_write_array>},
    {QM_CALL_VARIANTWRITEARRAYSHARED, by<variant_write_array>},
    {QM_CALL_VARIANTPATHW, by<variant_path_wide>},
    {QM_CALL_VARIANTPATHA, by<variant_path_narrow>},
    {QM_CALL_VARIANTPATHVALUEW, by<variant_path_value_wide>},
    {QM_CALL_VARIANTPATHVALUEA, by<variant_path_value_narrow>},
    // Records are never modified beyond their out fields, so the direct twins need no handlers.
    {QM_CALL_VARIANTRECREATEDIRECT, by<variant_recreate>},
    {QM_CALL_VARIANTCREATEDIRECT, by<variant_create>},
    {QM_CALL_VARIANTASSIGNDIRECT, by<variant_assign>},
    {QM_CALL_VARIANTASSIGNVALUE, by<variant_assign_value>},
    {QM_CALL_VARIANTASSIGNVALUEDIRECT, by<variant_assign_value>},
    {QM_CALL_VARIANTINFONAME, by<variant_info_name>},
    {QM_CALL_VARIANTGETITEMDIRECT, by<item_get>},
    {QM_CALL_VARIANTTAKEITEMDIRECT, by<item_take>},
    {QM_CALL_VARIANTCOUNTITEMS, by<item_count_named>},
    {QM_CALL_VARIANTINSERTITEMDIRECT, by<item_insert>},
    {QM_CALL_VARIANTGETATTRIBUTEDIRECT, by<attribute_get>},
    {QM_CALL_VARIANTFINDATTRIBUTE, by<attribute_find>},
    {QM_CALL_VARIANTCOUNTATTRIBUTES, by<attribute_count_named>},
    {QM_CALL_VARIANTINSERTATTRIBUTEDIRECT, by<attribute_insert>},
};

constexpr bool rising =
    std::ranges::is_sorted(kFunctions, std::ranges::less_equal{}, &Function::code);
static_assert(rising, "one row per code, in the order of the codes");

// A code's group and its low bits give each row a place of its own, so that a call need not search.
constexpr std::size_t place_of(std::uint32_t code) { return (code >> 16 & 7) << 6 | (code & 63); }

constexpr auto kRowAtPlace = [] {
  std::array<std::uint8_t, std::size_t{8} * 64> rows{};
  for (std::size_t row = 0; row < std::size(kFunctions); ++row) {
    rows[place_of(kFunctions[row].code)] = static_cast<std::uint8_t>(row);
  }
  return rows;
}();

constexpr const Function& row_for(std::uint32_t code) {
  return kFunctions[kRowAtPlace[place_of(code)]];
}
static_assert(std::ranges::all_of(kFunctions,
                                  [](auto& row) { return row_for(row.code).code == row.code; }),
              "no two rows share a place");

}  // namespace

std::int32_t serve(std::uint32_t function, void* params) {
  const Function& row = row_for(function);
  if (row.code != function) return refuse(QM_W("(function=%08x?,handle=%08x)"), function, 0);
  return row.handler(params);
}

}  // namespace qmsd
