/* excounter: a module in C. It counts for each instance, serves calls that have none, and reports
 * its errors with a format. */
#include "excounter.h"

#include <stdarg.h>
#include <stdatomic.h>
#include <stddef.h>

/* Handle n is counters[n]; counters[0] serves the group handle and is always open. Plain data, so
 * that it is still there when the kernel closes its handles at the end of the process. */
enum { COUNTERS = 64 };
static struct {
  atomic_bool used;
  atomic_int value;
} counters[COUNTERS] = {{.used = 1}};

/* The kernel tells its entry right after it has loaded the module. */
static _Atomic(qm_call_fn) kernel;

/* Records an error for the calling thread; the kernel puts the code's own text before it. */
static int32_t fail(int32_t code, const qm_wchar* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  qm_set_error_w record = {QM_SET_ERROR_REPLACE, code, format, (void*)arguments};
  if (kernel != NULL) kernel(0, QM_CALL_SETERRORW, &record);
  va_end(arguments);
  return 0;
}

static int is_open(uint32_t handle) { return handle < COUNTERS && counters[handle].used; }

static int32_t open_instance(qm_open_module_w* record) {
  for (uint32_t handle = 1; handle < COUNTERS; ++handle) {
    if (atomic_exchange(&counters[handle].used, 1)) continue;
    counters[handle].value = 0;
    record->handle = handle;
    return 1;
  }
  return fail(QM_ERROR_NO_MEMORY, QM_W("[excounter] more than %i instances"), COUNTERS - 1);
}

static int32_t close_instance(uint32_t handle) {
  if (handle != 0) counters[handle].used = 0;
  return 1;
}

static int32_t add(uint32_t handle, excounter_add* record) {
  int old = counters[handle].value;
  int64_t sum;
  do {
    sum = (int64_t)old + record->step;
    if (sum > EXCOUNTER_LIMIT || sum < -EXCOUNTER_LIMIT) {
      return fail(EXCOUNTER_ERROR_LIMIT, QM_W("[excounter] %i + %i"), old, (int)record->step);
    }
  } while (!atomic_compare_exchange_weak(&counters[handle].value, &old, (int)sum));
  record->value = (int32_t)sum;
  return 1;
}

static int32_t reset(uint32_t handle) {
  counters[handle].value = 0;
  return 1;
}

static int32_t QM_STDCALL serve(uint32_t handle, uint32_t function, void* record);

static const qm_module_info info = {QM_MODULE_ID, 0x01000000, "Example module: counts",
                                    QM_W("Example module: counts"), serve};

static int32_t QM_STDCALL serve(uint32_t handle, uint32_t function, void* record) {
  if (!is_open(handle)) return fail(QM_ERROR_NOT_FOUND, QM_W("[excounter] (handle=%08x)"), handle);
  switch (function) { /* Codes without a record come first. */
    case QM_CALL_CLOSEHANDLE:
      return close_instance(handle);
    case EXCOUNTER_RESET:
      return reset(handle);
  }
  if (record == NULL) return fail(QM_ERROR_ARGUMENT, QM_W("[excounter] (!ptr)"));
  switch (function) {
    case QM_CALL_SETKERNELENTRY:
      kernel = ((qm_kernel_entry*)record)->entry;
      return 1;
    case QM_CALL_GETKERNELINFO:
      ((qm_info_request*)record)->info = &info;
      return 1;
    case QM_CALL_OPENMODULEW:
      return open_instance(record);
    case EXCOUNTER_ADD:
      return add(handle, record);
  }
  return fail(QM_ERROR_ARGUMENT, QM_W("[excounter] (function=%08x)"), function);
}

/* The two exports. The information record names `serve`, not `qm_call`: that name is the kernel's,
 * too. */
QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = {QM_MODULE_ID, 0x01000000, "Example module: counts",
                                     QM_W("Example module: counts"), serve};

QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params) {
  return serve(handle, function, params);
}
