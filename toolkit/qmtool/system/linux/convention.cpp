#include "toolkit/qmtool/system/convention.h"

namespace qmtool {

const bool kKnowsConventions = false;

// The caller tidies up the stack here.
MeasuredCall call_measured(qm_call_fn entry, std::uint32_t handle, std::uint32_t code,
                           void* record) {
  return {entry(handle, code, record), 0};
}

}  // namespace qmtool
