// Enumerates a directory and knows how paths are spelled on this system.
#pragma once

#include "include/qmsd7.h"

namespace qmsd::platform {

extern const qm_wchar kPathSeparator;  // '\' or '/'
extern const qm_wchar kListSeparator;  // between the entries of PATH: ';' or ':'

// Walks the entries whose names match `pattern` ("*" and "?", and case, as the system takes them),
// in the system's order. "." and ".." are no entries. `visit` gets each name without its directory;
// the walk ends when it returns false. A directory that cannot be read, or whose name is too long
// for the system, has no entries. Any thread may walk; no lock may be held.
using VisitName = bool (*)(const qm_wchar* name, void* context);
void visit_directory(const qm_wchar* directory, const qm_wchar* pattern, VisitName visit,
                     void* context);

}  // namespace qmsd::platform
