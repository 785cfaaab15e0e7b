// Directories and the status of what is at a path. Paths are in normal form (path_names.h).
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

// True for a directory (a regular file); errno is then 0, or 13 when the owner must not write.
// False with errno 20 (21) for anything else, or with the error of the query.
bool is_directory(const qm_wchar* path);
bool is_regular_file(const qm_wchar* path);

// False with errno: 22 for null, 17 when the directory exists, 20 when something else is there.
// True for a root, which always exists. The mode is accepted for POSIX-style callers and ignored.
bool make_directory(const qm_wchar* path, bool recursive, int mode);

}  // namespace qmsd
