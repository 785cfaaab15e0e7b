// What the kernel serves today, code by code.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace contract {

// Codes that cannot do without a record, and what they say when they get none (error 22).
struct NeedsRecord {
  std::uint32_t code;
  const char* refusal;
};

inline constexpr NeedsRecord kNeedRecord[] = {
    {QM_CALL_LISTMODULESW, "Null pointer detected"},
    {QM_CALL_LISTMODULESA, "Null pointer detected"},
    {QM_CALL_RESOLVEHANDLE, "(!ptr)"},
    {QM_CALL_SETERRORW, "(!ptr)"},
    {QM_CALL_SETERRORA, "(!ptr)"},
    {QM_CALL_ADDERRORTEXTS, "(!ptr)"},
    {QM_CALL_REALLOC, "(!ptr || size < 0)"},
    {QM_CALL_MEMSIZE, "(!ptr || !buffer)"},
    {QM_CALL_REALLOCPOS, "(!ptr)"},
    {QM_CALL_MEMINFO, "(!ptr)"},
    {QM_CALL_OPENMODULEW, "(!ptr || !name)"},
    {QM_CALL_OPENMODULEA, "(!ptr || !name)"},
    {QM_CALL_CLOSEHANDLE, "(!ptr)"},
    {QM_CALL_REFHANDLE, "(!ptr)"},
    {QM_CALL_UNREFHANDLE, "(!ptr)"},
    {QM_CALL_VERSIONINFOW, "(!params)"},
    {QM_CALL_VERSIONINFOA, "(!params)"},
};

// Codes that look at no record, or get along without one.
inline constexpr std::uint32_t kNeedNoRecord[] = {
    QM_CALL_NOP,      QM_CALL_GETERRORW, QM_CALL_GETERRORA,     QM_CALL_PUSHERROR,
    QM_CALL_POPERROR, QM_CALL_MEMCHECK,  QM_CALL_GETKERNELINFO, QM_CALL_CLOSE,
};

// Codes that have a name but no service yet: slots, whole files, variants. They are refused like any
// unknown code. Whoever builds a service moves its codes from here to the tables above.
constexpr bool is_named_but_not_served(std::uint32_t code) {
  return (code >= QM_CALL_SLOTCREATE && code <= QM_CALL_WRITEFILE) ||
         (code >= QM_CALL_VARIANTREF && code <= QM_CALL_VARIANTINSERTATTRIBUTEDIRECT);
}

constexpr bool is_served(std::uint32_t code) {
  if (is_named_but_not_served(code)) return false;
  for (const NeedsRecord& entry : kNeedRecord) {
    if (entry.code == code) return true;
  }
  for (const std::uint32_t entry : kNeedNoRecord) {
    if (entry == code) return true;
  }
  return false;
}

}  // namespace contract
