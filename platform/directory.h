// Enumerates a directory and knows how paths are spelled on this system.
#pragma once

#include "include/qmsd7.h"

namespace qmsd::platform {

extern const qm_wchar kPathSeparator;  // '\' or '/'
extern const qm_wchar kListSeparator;  // between the entries of PATH: ';' or ':'

struct DirectoryEntry {
  const qm_wchar* name;  // without its directory
  bool is_hidden;        // natively: begins with a dot
  bool is_link;          // a symbolic link or the like
};

// Walks the entries whose names match `pattern` ("*" and "?", and case, as the system takes them),
// in the system's order. "." and ".." are no entries. The walk ends when `visit` returns false. A
// directory that cannot be read, or whose name is too long for the system, has no entries. Any
// thread may walk; no lock may be held.
using VisitEntry = bool (*)(const DirectoryEntry& entry, void* context);
void visit_directory(const qm_wchar* directory, const qm_wchar* pattern, VisitEntry visit,
                     void* context);

}  // namespace qmsd::platform
