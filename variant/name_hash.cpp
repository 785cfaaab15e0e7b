// The hash of names.
#include "variant/name_hash.h"

#include <cstddef>

#include "variant/crc32.h"

namespace qmsd {

std::uint32_t name_hash(WideView name) {
  constexpr std::uint32_t kStart = 0xFFFFFFFF;
  std::uint32_t crc = kStart;
  for (std::size_t byte = 0; byte < name.size(); ++byte) {
    const auto unit = static_cast<std::uint16_t>(name[byte / 2]);
    const auto value = static_cast<std::uint8_t>(byte % 2 == 0 ? unit & 0xFF : unit >> 8);
    crc = crc32({&value, 1}, crc);
  }
  return crc;
}

}  // namespace qmsd
