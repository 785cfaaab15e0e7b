// CRC-32 (reflected polynomial 0xEDB88320), the hash of names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qmsd {

inline constexpr std::array<std::uint32_t, 256> kCrc32Table = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
    table[byte] = crc;
  }
  return table;
}();

// `start` may be an earlier result, whose checksum is then continued.
constexpr std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t start = 0) {
  std::uint32_t crc = ~start;
  for (const std::byte byte : bytes) {
    crc = (crc >> 8) ^ kCrc32Table[(crc ^ std::to_integer<std::uint32_t>(byte)) & 0xFF];
  }
  return ~crc;
}

}  // namespace qmsd
