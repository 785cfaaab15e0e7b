// What a 32-bit Windows library file says of itself.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tests/contract/binary/file_bytes.h"

namespace binary {

class PeImage {
 public:
  explicit PeImage(const std::string& path);

  const IMAGE_FILE_HEADER& file_header() const { return headers_.FileHeader; }
  const IMAGE_OPTIONAL_HEADER32& optional_header() const { return headers_.OptionalHeader; }
  const std::vector<IMAGE_SECTION_HEADER>& sections() const { return sections_; }

  bool has_directory(std::size_t index) const;
  IMAGE_EXPORT_DIRECTORY export_directory() const;
  std::vector<std::string> exported_names() const;
  std::vector<std::string> imported_libraries() const;
  // The fixed part of the version resource.
  std::optional<VS_FIXEDFILEINFO> version() const;

 private:
  std::size_t file_offset(std::size_t address) const;
  template <typename Record>
  Record directory(std::size_t index) const;

  FileBytes bytes_;
  IMAGE_NT_HEADERS32 headers_;
  std::vector<IMAGE_SECTION_HEADER> sections_;
};

}  // namespace binary
