// Translates records and results of the older protocol.
#include "modules/extended_adapter.h"

#include "kernel/errors/error_state.h"
#include "modules/library_search.h"
#include "services/text/strings.h"

namespace qmsd {
namespace {

constexpr std::uint32_t kOldOpen = 0x0FFF0011;
constexpr std::uint32_t kOldClose = 0x0FFF0012;
constexpr std::uint32_t kOldInfo = 0x0FFF0013;

constexpr std::uint32_t kFirstTranslated = 0x10030000;
constexpr std::uint32_t kLastTranslated = 0x1003000F;

struct OldOpen {
  const char* name;
  const char* group;
  std::uint32_t handle;  // out
};

struct OldInfo {
  const qm_module_info* info;  // out
};

// Longest narrow form of a name or group.
constexpr std::ptrdiff_t kNarrowSize = 4 * kModuleTextLength;

bool fail_old(std::int32_t code, std::int32_t old_error) {
  return fail(code, QM_W("(old error=%08x)"), old_error);
}

bool succeeded(std::int32_t old_result) {
  return old_result == 0 || fail_old(old_result, old_result);
}

bool open_old(qm_call_fn entry, qm_open_module_w& record) {
  char name[kNarrowSize];
  char group[kNarrowSize];
  wcs_to_mbs(name, kNarrowSize, record.name);
  wcs_to_mbs(group, kNarrowSize, is_empty(record.group) ? QM_W("default") : record.group);
  OldOpen request{name, group, 0};
  if (!succeeded(entry(0, kOldOpen, &request))) return false;
  record.handle = request.handle;
  return true;
}

bool close_old(qm_call_fn entry, std::uint32_t handle) {
  qm_handle_ref request{handle};
  return succeeded(entry(handle, kOldClose, &request));
}

bool ask_old_info(qm_call_fn entry, qm_info_request* record) {
  OldInfo request{nullptr};
  if (!succeeded(entry(0, kOldInfo, &request))) return false;
  if (record != nullptr) record->info = request.info;
  return true;
}

}  // namespace

std::int32_t call_extended(qm_call_fn entry, std::uint32_t handle, std::uint32_t code,
                           void* record) {
  if (code < kFirstTranslated || code > kLastTranslated) return entry(handle, code, record);
  switch (code) {
    case QM_CALL_OPENMODULEW:
      return open_old(entry, *static_cast<qm_open_module_w*>(record));
    case QM_CALL_CLOSEHANDLE:
      return close_old(entry, handle);
    case QM_CALL_GETKERNELINFO:
      return ask_old_info(entry, static_cast<qm_info_request*>(record));
    case 0x10030003:
    case QM_CALL_REFHANDLE:
    case QM_CALL_UNREFHANDLE:
    case 0x1003000C:
    case 0x1003000D:
      return entry(handle, code, record);
    default:
      return fail_old(QM_ERROR_ARGUMENT, 0);
  }
}

}  // namespace qmsd
