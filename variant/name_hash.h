// The hash that children are looked up by before their names are compared.
#pragma once

#include <cstdint>

#include "services/text/text.h"

namespace qmsd {

// Covers as many bytes as the name has characters, which is the first half of its storage: stored
// hashes have been made so since the first version, and a full comparison follows every match.
// An empty name hashes to 0xFFFFFFFF, and so does an absent one.
std::uint32_t name_hash(WideView name);

}  // namespace qmsd
