// The only way in: entry checks, routing, and the wall that no exception passes.
#include <new>

#include "include/qmsd7.h"
#include "kernel/base/trace.h"
#include "kernel/entry/function_table.h"
#include "kernel/entry/handle_table.h"
#include "kernel/entry/lifecycle.h"
#include "kernel/errors/error_calls.h"
#include "kernel/errors/error_state.h"

namespace qmsd {
namespace {

// Even static objects may be gone once the kernel is closed: nothing but the record is touched.
std::int32_t answer_closed(std::uint32_t function, void* params) noexcept {
  switch (function) {
    case QM_CALL_GETERRORW:
      return closed_error_wide(static_cast<qm_get_error_w*>(params));
    case QM_CALL_GETERRORA:
      return closed_error_narrow(static_cast<qm_get_error_a*>(params));
    default:
      return 0;
  }
}

std::int32_t route(std::uint32_t handle, std::uint32_t function, void* params) {
  if (handle == 0) {
    if (!kernel_runs()) load_tables_once();
    return serve(function, params);
  }
  if (function == QM_CALL_OPENMODULEW) {
    return refuse(QM_W("(handle[%08x] != NULL && function == %08x)"), handle, function);
  }
  return handle_call(handle, function, params);
}

}  // namespace
}  // namespace qmsd

std::int32_t QM_STDCALL qm_call(std::uint32_t handle, std::uint32_t function, void* params) {
  using namespace qmsd;
  if (!kernel_runs()) {
    pin_numeric_locale_once();
    if (kernel_closed()) return answer_closed(function, params);
  }
  trace("--- qm_call begin (handle: %08x, function: %08x, params: %p)", handle, function, params);
  try {
    return route(handle, function, params);
  } catch (const std::bad_alloc&) {
    return fail(QM_ERROR_NO_MEMORY);
  } catch (...) {
    return fail(QM_ERROR_DAMAGED);
  }
}
