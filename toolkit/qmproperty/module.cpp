// The property module's entry: function codes, their records and the road back to the kernel.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "qmproperty.h"
#include "qmsd7.h"
#include "toolkit/qmproperty/result.h"
#include "toolkit/qmproperty/store.h"
#include "toolkit/qmproperty/text.h"

namespace qmproperty {
namespace {

std::int32_t QM_STDCALL serve(std::uint32_t handle, std::uint32_t function, void* params);

// The record names `serve` itself: in a host that is linked to the kernel, the dynamic loader of
// Linux takes the name `qm_call` for the kernel's.
constexpr qm_module_info kInfo = {QM_MODULE_ID, 0x01000000, "Properties in a TOML file",
                                  QM_W("Properties in a TOML file"), &serve};

// All instances are one tree: they share a handle, and there is nothing to open or to close.
constexpr std::uint32_t kTreeHandle = 1;

// Never destroyed: at process exit the kernel closes its handles after our own destructors ran.
alignas(Store) std::byte room[sizeof(Store)];
Store& store = *::new (room) Store;

struct CloseAtUnload {
  ~CloseAtUnload() { store.close(); }
} close_at_unload;

std::atomic<qm_call_fn> kernel_entry = nullptr;

void record_error(std::int32_t code, const qm_wchar* text) {
  const qm_call_fn kernel = kernel_entry;
  if (kernel == nullptr) return;
  qm_set_error_w record{QM_SET_ERROR_LITERAL, code, text, nullptr};
  kernel(0, QM_CALL_SETERRORW, &record);
}

Result refusal(const char* condition) { return {QM_ERROR_ARGUMENT, condition}; }

template <class Record>
Result check_buffer(const Record& record) {
  if (record.path == nullptr) return refusal("(!path)");
  return record.text != nullptr && record.length > 0 ? Result() : refusal("(!text || length < 1)");
}

template <class Record>
Result read(Record& record) {
  if (Result checked = check_buffer(record); !checked) return checked;
  std::string value;
  Result result = store.read(to_utf8(record.path), value);
  if (result) copy_text(value, record.text, record.length);
  return result;
}

template <class Record>
Result list(Record& record) {
  if (Result checked = check_buffer(record); !checked) return checked;
  std::string names;
  Result result = store.list(to_utf8(record.path), names);
  if (result) copy_lines(names, record.text, record.length);
  return result;
}

template <class Record>
Result write(Record& record) {
  if (record.path == nullptr) return refusal("(!path)");
  if (record.text == nullptr) return refusal("(!text)");
  return store.write(to_utf8(record.path), to_utf8(record.text));
}

template <class Record>
Result remove(Record& record) {
  return record.path != nullptr ? store.remove(to_utf8(record.path)) : refusal("(!path)");
}

Result save(void*) { return store.save(); }

Result take_kernel_entry(qm_kernel_entry& record) {
  kernel_entry = record.entry;
  return {};
}

Result tell_info(qm_info_request& record) {
  record.info = &kInfo;
  return {};
}

Result open(qm_open_module_w& record) {
  record.handle = kTreeHandle;
  return {};
}

Result close(void*) { return {}; }

// Gives a handler its record.
template <class Record, Result (*handler)(Record&)>
Result with_record(void* params) {
  if (params == nullptr) return refusal("(!ptr)");
  return handler(*static_cast<Record*>(params));
}

struct Service {
  std::uint32_t code;
  Result (*handler)(void* params);
};

constexpr Service kServices[] = {
    {QM_CALL_OPENMODULEW, &with_record<qm_open_module_w, open>},
    {QM_CALL_CLOSEHANDLE, &close},
    {QM_CALL_GETKERNELINFO, &with_record<qm_info_request, tell_info>},
    {QM_CALL_SETKERNELENTRY, &with_record<qm_kernel_entry, take_kernel_entry>},
    {QM_PROPERTY_READW, &with_record<qm_property_text, read>},
    {QM_PROPERTY_READA, &with_record<qm_property_text_a, read>},
    {QM_PROPERTY_WRITEW, &with_record<qm_property_write_w, write>},
    {QM_PROPERTY_WRITEA, &with_record<qm_property_write_a, write>},
    {QM_PROPERTY_REMOVEW, &with_record<qm_property_remove_w, remove>},
    {QM_PROPERTY_REMOVEA, &with_record<qm_property_remove_a, remove>},
    {QM_PROPERTY_SAVE, &save},
    {QM_PROPERTY_LISTW, &with_record<qm_property_text, list>},
    {QM_PROPERTY_LISTA, &with_record<qm_property_text_a, list>},
};

Result dispatch(std::uint32_t handle, std::uint32_t function, void* params) {
  if (handle != 0 && handle != kTreeHandle) return refusal("(handle)");
  for (const Service& service : kServices) {
    if (service.code == function) return service.handler(params);
  }
  return refusal("(function)");
}

std::int32_t QM_STDCALL serve(std::uint32_t handle, std::uint32_t function, void* params) {
  try {
    const Result result = dispatch(handle, function, params);
    if (result) return 1;
    record_error(result.code, to_wide("[qmproperty] " + result.message).c_str());
  } catch (const std::bad_alloc&) {
    record_error(QM_ERROR_NO_MEMORY, nullptr);
  } catch (...) {
    record_error(QM_ERROR_DAMAGED, nullptr);
  }
  return 0;
}

}  // namespace
}  // namespace qmproperty

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = qmproperty::kInfo;

QM_EXPORT std::int32_t QM_STDCALL qm_call(std::uint32_t handle, std::uint32_t function,
                                          void* params) {
  return qmproperty::serve(handle, function, params);
}
}
