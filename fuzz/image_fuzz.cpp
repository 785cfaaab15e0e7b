// Feeds arbitrary bytes to the tool's readers of library files.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "toolkit/qmtool/image/image.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Of exactly its size, so that the sanitizer sees a reader leave it.
  const auto bytes = std::make_unique<char[]>(size);
  if (size != 0) std::memcpy(bytes.get(), data, size);
  const std::string_view file(bytes.get(), size);
  const auto inside = [file](std::string_view text) {
    return text.data() >= file.data() && text.data() + text.size() <= file.data() + file.size();
  };

  const qmtool::ImageReading reading = qmtool::read_image(file);
  require((reading.fault == qmtool::ImageFault::none) == reading.detail.empty());
  require(std::ranges::all_of(reading.image.exports, inside));
  require(std::ranges::all_of(reading.image.wanted, inside));
  require(std::ranges::all_of(reading.image.run_path, inside));
  for (const qmtool::Import& import : reading.image.imports) {
    require(inside(import.library) && std::ranges::all_of(import.names, inside));
  }
  return 0;
}
