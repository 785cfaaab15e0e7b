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
    {QM_CALL_SLOTCREATE, "(!ptr)"},
    {QM_CALL_SLOTJOIN, "(!ptr)"},
    {QM_CALL_SLOTRELEASE, "(!ptr)"},
    {QM_CALL_READFILE, "(!filename)"},
    {QM_CALL_WRITEFILE, "(!filename)"},
    {QM_CALL_OPENMODULEW, "(!ptr || !name)"},
    {QM_CALL_OPENMODULEA, "(!ptr || !name)"},
    {QM_CALL_CLOSEHANDLE, "(!ptr)"},
    {QM_CALL_REFHANDLE, "(!ptr)"},
    {QM_CALL_UNREFHANDLE, "(!ptr)"},
    {QM_CALL_VERSIONINFOW, "(!params)"},
    {QM_CALL_VERSIONINFOA, "(!params)"},
    {QM_CALL_VARIANTREF, "(variant)"},
    {QM_CALL_VARIANTRELEASE, "(variant)"},
    {QM_CALL_VARIANTCREATE, "(!ptr)"},
    {QM_CALL_VARIANTCOPY, "(!ptr)"},
    {QM_CALL_VARIANTRECREATE, "(!ptr)"},
    {QM_CALL_VARIANTASSIGN, "(!ptr)"},
    {QM_CALL_VARIANTINFO, "(!ptr)"},
    {QM_CALL_VARIANTCONVERT, "(!ptr)"},
    {QM_CALL_VARIANTGETITEM, "(!ptr)"},
    {QM_CALL_VARIANTTAKEITEM, "(!ptr)"},
    {QM_CALL_VARIANTITEMPOSITION, "(!ptr)"},
    {QM_CALL_VARIANTINSERTITEM, "(!ptr)"},
    {QM_CALL_VARIANTDELETEITEM, "(!ptr)"},
    {QM_CALL_VARIANTGETATTRIBUTE, "(!ptr)"},
    {QM_CALL_VARIANTTAKEATTRIBUTE, "(!ptr)"},
    {QM_CALL_VARIANTATTRIBUTEPOSITION, "(!ptr)"},
    {QM_CALL_VARIANTINSERTATTRIBUTE, "(!ptr)"},
    {QM_CALL_VARIANTDELETEATTRIBUTE, "(!ptr)"},
    {QM_CALL_VARIANTREADARRAY, "(!ptr)"},
    {QM_CALL_VARIANTREADARRAYSHARED, "(!ptr)"},
    {QM_CALL_VARIANTWRITEARRAY, "(!ptr)"},
    {QM_CALL_VARIANTWRITEARRAYSHARED, "(!ptr)"},
    {QM_CALL_VARIANTPATHW, "(!ptr)"},
    {QM_CALL_VARIANTPATHA, "(!ptr)"},
    {QM_CALL_VARIANTPATHVALUEW, "(!ptr)"},
    {QM_CALL_VARIANTPATHVALUEA, "(!ptr)"},
    {QM_CALL_VARIANTRECREATEDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTCREATEDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTASSIGNDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTASSIGNVALUE, "(!ptr)"},
    {QM_CALL_VARIANTASSIGNVALUEDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTINFONAME, "(!ptr)"},
    {QM_CALL_VARIANTGETITEMDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTTAKEITEMDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTCOUNTITEMS, "(!ptr)"},
    {QM_CALL_VARIANTINSERTITEMDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTGETATTRIBUTEDIRECT, "(!ptr)"},
    {QM_CALL_VARIANTFINDATTRIBUTE, "(!ptr)"},
    {QM_CALL_VARIANTCOUNTATTRIBUTES, "(!ptr)"},
    {QM_CALL_VARIANTINSERTATTRIBUTEDIRECT, "(!ptr)"},
};

// Codes that look at no record, or get along without one.
inline constexpr std::uint32_t kNeedNoRecord[] = {
    QM_CALL_NOP,      QM_CALL_GETERRORW, QM_CALL_GETERRORA,     QM_CALL_PUSHERROR,
    QM_CALL_POPERROR, QM_CALL_MEMCHECK,  QM_CALL_GETKERNELINFO, QM_CALL_CLOSE,
};

constexpr bool is_served(std::uint32_t code) {
  for (const NeedsRecord& entry : kNeedRecord) {
    if (entry.code == code) return true;
  }
  for (const std::uint32_t entry : kNeedNoRecord) {
    if (entry == code) return true;
  }
  return false;
}

}  // namespace contract
