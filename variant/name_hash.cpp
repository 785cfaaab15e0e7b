// The hash of names.
#include "variant/name_hash.h"

#include <span>

#include "variant/crc32.h"

namespace qmsd {

// Both systems keep the low byte of a unit first, as the hash wants it.
std::uint32_t name_hash(WideView name) {
  constexpr std::uint32_t kStart = 0xFFFFFFFF;
  return crc32(std::as_bytes(std::span(name)).first(name.size()), kStart);
}

}  // namespace qmsd
