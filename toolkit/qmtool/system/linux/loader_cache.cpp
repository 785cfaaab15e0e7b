#include "toolkit/qmtool/system/linux/loader_cache.h"

#include <algorithm>
#include <cstdint>

#include "toolkit/qmtool/image/bytes.h"
#include "toolkit/qmtool/system/files.h"

namespace qmtool {
namespace {

constexpr std::string_view kMagic = "glibc-ld.so.cache1.1";
constexpr std::uint64_t kCountAt = 20;
constexpr std::uint64_t kEntriesAt = 48;
constexpr std::uint64_t kEntrySize = 24;
constexpr std::uint64_t kPathInEntry = 8;

}  // namespace

std::vector<std::filesystem::path> folders_of_loader_cache() {
  const MappedFile file("/etc/ld.so.cache");
  std::vector<std::filesystem::path> folders;
  if (!file.bytes().starts_with(kMagic)) return folders;
  const Bytes cache(file.bytes());
  try {
    const std::uint64_t count = cache.read<std::uint32_t>(kCountAt);
    for (std::uint64_t i = 0; i < count; ++i) {
      const auto text_at = cache.read<std::uint32_t>(kEntriesAt + i * kEntrySize + kPathInEntry);
      auto folder = std::filesystem::path(cache.text(text_at)).parent_path();
      if (std::ranges::find(folders, folder) == folders.end()) folders.push_back(std::move(folder));
    }
  } catch (const Damage&) {  // what could be read counts
  }
  return folders;
}

}  // namespace qmtool
