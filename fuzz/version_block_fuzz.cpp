// Feeds arbitrary bytes to the reader of version blocks.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "modules/version_block.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Of exactly its size, so that the sanitizer sees the reader leave it.
  const std::size_t length = size / sizeof(qm_wchar);
  const auto words = std::make_unique<qm_wchar[]>(length);
  if (length != 0) std::memcpy(words.get(), data, length * sizeof(qm_wchar));
  const qmsd::VersionBlock block(words.get(), length);
  const auto inside = [block](qmsd::WideView text) {
    return text.data() >= block.data() && text.data() + text.size() <= block.data() + block.size();
  };

  std::uint32_t version;
  qmsd::fixed_version(block, version);
  qmsd::VersionEntries entries;
  const bool found = find_version_texts(block, entries) == qmsd::VersionTable::found;
  qmsd::WideView key;
  qmsd::WideView value;
  std::size_t total = 0;
  while (entries.next(key, value)) {
    require(found && inside(key) && inside(value) && !value.empty());
    total += key.size() + value.size();
  }
  require(total <= length);
  return 0;
}
