// exgreeter: a module in C++. It keeps a text for each instance, reads a property, reports errors
// and hands a buffer to its caller.
#include "exgreeter.h"

#include <atomic>
#include <cstring>
#include <string>

namespace {

using Text = std::basic_string<qm_wchar>;

// ---- The kernel --------------------------------------------------------------------------------
// A module is not linked to the kernel. It is told the kernel's entry right after it is loaded.

std::atomic<qm_call_fn> kernel;

int32_t call_kernel(uint32_t handle, uint32_t function, void* record) {
  const qm_call_fn entry = kernel;
  return entry != nullptr ? entry(handle, function, record) : 0;
}

// Records an error for the calling thread; the kernel puts the code's own text before ours.
int32_t fail(int32_t code, const qm_wchar* text) {
  qm_set_error_w record{QM_SET_ERROR_LITERAL, code, text, nullptr};
  call_kernel(0, QM_CALL_SETERRORW, &record);
  return 0;
}

// Buffers that cross the boundary come from the kernel, so that any side can give them back.
qm_wchar* tracked_copy(const Text& text) {
  const size_t size = (text.size() + 1) * sizeof(qm_wchar);
  qm_realloc record{nullptr, static_cast<int32_t>(size)};
  if (!call_kernel(0, QM_CALL_REALLOC, &record)) return nullptr;  // the kernel has said why
  std::memcpy(record.pointer, text.c_str(), size);
  return static_cast<qm_wchar*>(record.pointer);
}

// ---- Instances ---------------------------------------------------------------------------------
// Handle n is instances[n - 1]. Plain data without a destructor: when the process ends, the kernel
// still closes its handles after this library's static objects are gone.

struct Instance {
  std::atomic<bool> used;
  qm_wchar greeting[64];
};
Instance instances[32];

Instance* find_instance(uint32_t handle) {
  if (handle == 0 || handle > std::size(instances)) return nullptr;
  Instance& instance = instances[handle - 1];
  return instance.used ? &instance : nullptr;
}

// "/<group>/greeting" from the property store, or a greeting of our own.
void choose_greeting(const qm_wchar* group, qm_wchar (&greeting)[64]) {
  if (group != nullptr && *group != 0) {
    const Text path = Text(QM_W("/")) + group + QM_W("/greeting");
    qm_property_text property{path.c_str(), greeting, static_cast<int32_t>(std::size(greeting))};
    if (call_kernel(QM_PROPERTY_HANDLE, QM_PROPERTY_READW, &property)) return;
  }
  Text(QM_W("Hello")).copy(greeting, std::size(greeting) - 1);
}

int32_t open_instance(qm_open_module_w* record) {
  for (Instance& instance : instances) {
    if (instance.used.exchange(true)) continue;
    std::memset(instance.greeting, 0, sizeof instance.greeting);
    choose_greeting(record->group, instance.greeting);
    record->handle = static_cast<uint32_t>(&instance - instances) + 1;
    return 1;
  }
  return fail(QM_ERROR_NO_MEMORY, QM_W("[exgreeter] too many instances"));
}

int32_t close_instance(uint32_t handle) {
  Instance* const instance = find_instance(handle);
  if (instance == nullptr) return fail(QM_ERROR_NOT_FOUND, QM_W("[exgreeter] (handle)"));
  instance->used = false;
  return 1;
}

int32_t greet(uint32_t handle, exgreeter_greet_w* record) {
  const Instance* const instance = find_instance(handle);
  if (instance == nullptr) return fail(QM_ERROR_NOT_FOUND, QM_W("[exgreeter] (handle)"));
  if (record->name == nullptr) return fail(QM_ERROR_ARGUMENT, QM_W("[exgreeter] (!name)"));
  qm_wchar* const text =
      tracked_copy(Text(instance->greeting) + QM_W(", ") + record->name + QM_W("!"));
  if (text == nullptr) return 0;
  record->text = text;
  return 1;
}

// ---- The entry ---------------------------------------------------------------------------------

int32_t QM_STDCALL serve(uint32_t handle, uint32_t function, void* record);

const qm_module_info info = {QM_MODULE_ID, 0x01000000, "Example module: greets",
                             QM_W("Example module: greets"), &serve};

int32_t answer(uint32_t handle, uint32_t function, void* record) {
  if (record == nullptr && function != QM_CALL_CLOSEHANDLE) {
    return fail(QM_ERROR_ARGUMENT, QM_W("[exgreeter] (!ptr)"));
  }
  switch (function) {
    case QM_CALL_SETKERNELENTRY:
      kernel = static_cast<qm_kernel_entry*>(record)->entry;
      return 1;
    case QM_CALL_GETKERNELINFO:
      static_cast<qm_info_request*>(record)->info = &info;
      return 1;
    case QM_CALL_OPENMODULEW:
      return open_instance(static_cast<qm_open_module_w*>(record));
    case QM_CALL_CLOSEHANDLE:
      return close_instance(handle);
    case EXGREETER_GREETW:
      return greet(handle, static_cast<exgreeter_greet_w*>(record));
    default:
      return fail(QM_ERROR_ARGUMENT, QM_W("[exgreeter] (function)"));
  }
}

// No exception may leave a module.
int32_t QM_STDCALL serve(uint32_t handle, uint32_t function, void* record) {
  try {
    return answer(handle, function, record);
  } catch (...) {
    return fail(QM_ERROR_NO_MEMORY, nullptr);
  }
}

}  // namespace

// ---- The two exports ---------------------------------------------------------------------------
// The information record names `serve`, not `qm_call`: that name is the kernel's, too.

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = info;

QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params) {
  return serve(handle, function, params);
}
}
