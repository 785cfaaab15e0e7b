// The rules of file names as text: roots, parents, normal form. Pure functions over backslash
// paths, the same on every system; they never look at the file system.
#pragma once

#include <cstddef>

#include "services/text/text.h"

namespace qmsd {

// The length of the path's root: "C:\", "\\server\share\", "\" or nothing. A UNC root that lacks
// its share is the whole path. "\\?\" and "\\.\" in front belong to the root.
std::size_t path_root_length(WideView path);

// The same as a position in a terminated path; null gives null.
const qm_wchar* path_root_end(const qm_wchar* path);

// The text before the last backslash, with that backslash if it ends the root; "." for a name
// alone.
WideView parent_of(WideView path);
// A copy of it; null with errno 12 when memory is exhausted.
OwnedText parent_directory(const qm_wchar* path);

// Brings a name, variables expanded already, into normal form in place: "/" becomes "\", runs of
// backslashes become one (two at the start stay), a trailing one goes unless it ends the root, and
// runs of dots are cut to two.
void normalise_path(qm_wchar* path);

// Takes the name, expands its %VARIABLES% and normalises it. Null for null and on failure, with
// errno 12 (memory) or 14 (the variables cannot be expanded).
OwnedText expand_filename(OwnedText name);

}  // namespace qmsd
