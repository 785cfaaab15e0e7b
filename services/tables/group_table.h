// The group table: which module serves which group of function codes (the upper 16 bits of a code,
// such as 0x1100). Process-wide; filled with built-in rows, extended from the property store.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// Module names are cut to 127 characters.
inline constexpr std::size_t kGroupNameLength = 128;

// False when memory is exhausted: there is then no table, and nothing is ever found.
bool groups_create();
void groups_destroy();

// A null text removes the row. False (errno 12) when memory is exhausted.
bool groups_set(std::int32_t id, const qm_wchar* text);

// Copies the module's name; false when the group has no module.
bool groups_lookup(std::uint16_t group, qm_wchar (&name)[kGroupNameLength]);

// True for the one caller per table life that is to load it from the property store.
bool groups_claim_loading();

}  // namespace qmsd
