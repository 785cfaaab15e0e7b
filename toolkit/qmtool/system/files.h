// The bytes of a file, mapped rather than read: of most libraries only a few tables are looked at.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qmtool {

class MappedFile {
 public:
  explicit MappedFile(const std::filesystem::path& path);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  // Why there are no bytes: the system's words; empty when the file could be opened.
  const std::string& problem() const noexcept { return problem_; }
  std::string_view bytes() const noexcept { return bytes_; }

 private:
  std::string_view bytes_;
  std::string problem_;
};

}  // namespace qmtool
