#include "toolkit/qmtool/image/image.h"

#include <algorithm>

#include "toolkit/qmtool/image/formats.h"

namespace qmtool {
namespace {

bool looks_like_text(std::string_view bytes) {
  return std::ranges::all_of(bytes.substr(0, 512), [](char byte) {
    const auto unit = static_cast<unsigned char>(byte);
    return unit >= 0x20 || unit == '\t' || unit == '\n' || unit == '\r' || unit == '\f';
  });
}

ImageReading fault(ImageFault kind, std::string detail) { return {kind, std::move(detail), {}}; }

}  // namespace

bool Image::exports_name(std::string_view name) const {
  return std::ranges::find(exports, name) != exports.end();
}

ImageReading read_image(std::string_view bytes) {
  if (bytes.empty()) return fault(ImageFault::empty, "is empty");
  const bool is_pe = bytes.starts_with("MZ");
  if (!is_pe && !bytes.starts_with("\177ELF")) {
    return fault(ImageFault::foreign, looks_like_text(bytes) ? "holds text, no library"
                                                             : "is no library of any known kind");
  }
  ImageReading reading;
  reading.image.format = is_pe ? ImageFormat::pe : ImageFormat::elf;
  try {
    (is_pe ? read_pe : read_elf)(Bytes(bytes), reading.image);
  } catch (const Damage& problem) {
    reading.fault = problem.fault;
    reading.detail = problem.what();
  }
  return reading;
}

std::string_view name_of(ImageFormat format) {
  return format == ImageFormat::pe ? "Windows" : "Linux";
}

}  // namespace qmtool
