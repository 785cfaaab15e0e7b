// Searches a directory tree for entries by name pattern, kind and visibility.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// What to find: an entry has to fit one of the given bits of each kind. If none of a kind is given:
// regular files, visible entries, any access.
enum : std::uint32_t {
  kFindRegular = 0x1,
  kFindDirectories = 0x2,
  kFindOthers = 0x4,
  kFindHidden = 0x100,
  kFindVisible = 0x200,
  kFindAccessible = 0x400,
  kFindDenied = 0x800,  // read-only
};

// Full paths of the entries whose names match the pattern, ignoring case; "*.*" matches names
// without a dot, too. `depth` limits the descent into directories (which must fit the flags
// themselves); below 0 there is no limit. Paths longer than 279 characters are cut and not
// descended into.
//
// Returns the count, or -1 with errno. Each path and the array are heap blocks that the caller
// frees with platform::heap_free; an abandoned search leaves a null array.
std::int32_t find_files(const qm_wchar* directory, const qm_wchar* pattern, qm_wchar*** results,
                        std::int32_t depth, std::uint32_t flags);

}  // namespace qmsd
