// Calls modules of the extended kind, which speak an older protocol.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// Open, close and the question for information become their older codes:
//   QM_CALL_OPENMODULEW    0x0FFF0011 {narrow name, narrow group or "default", handle out}
//   QM_CALL_CLOSEHANDLE    0x0FFF0012 {handle}
//   QM_CALL_GETKERNELINFO  0x0FFF0013 {pointer out}
// The older result is 0 or an error code, which is then recorded. 0x10030003, 6, 7, C, D and all
// codes outside 0x10030000 to 0x1003000F pass unchanged; the others of that range are refused.
std::int32_t call_extended(qm_call_fn entry, std::uint32_t handle, std::uint32_t code,
                           void* record);

}  // namespace qmsd
