// Looks the section up in the file itself, so that nothing of the library runs or is mapped. Every
// position and size in it is checked against the file's size before it is used.
#include "platform/version_resource.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/linux/utf8.h"

namespace qmsd::platform {
namespace {

constexpr char kSectionName[] = ".qmversion";
constexpr std::uint64_t kLargestResource = 1 << 20;

struct Range {
  std::uint64_t offset;
  std::uint64_t size;
};

class RegularFile {
 public:
  explicit RegularFile(const qm_wchar* name) noexcept {
    char path[PATH_MAX];
    if (!narrow_utf8(name, path, sizeof path)) return;
    // Does not block should the name be that of a pipe.
    descriptor_ = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return;
    size_ = static_cast<std::uint64_t>(status.st_size);
  }
  ~RegularFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  bool contains(Range range) const noexcept {
    return range.offset <= size_ && range.size <= size_ - range.offset;
  }

  bool read(std::uint64_t offset, void* to, std::size_t size) const noexcept {
    if (!contains({offset, size})) return false;
    return ::pread(descriptor_, to, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
  }

  template <class T>
  bool read(std::uint64_t offset, T& to) const noexcept {
    return read(offset, &to, sizeof to);
  }

 private:
  int descriptor_ = -1;
  std::uint64_t size_ = 0;
};

bool is_our_kind(const Elf64_Ehdr& header) {
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
         header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_ident[EI_DATA] == ELFDATA2LSB &&
         header.e_shentsize == sizeof(Elf64_Shdr) && header.e_shstrndx < header.e_shnum;
}

bool has_name(const RegularFile& file, const Elf64_Shdr& names, const Elf64_Shdr& section) {
  char name[sizeof kSectionName];
  if (section.sh_name > names.sh_size || sizeof name > names.sh_size - section.sh_name)
    return false;
  return file.contains({names.sh_offset, names.sh_size}) &&
         file.read(names.sh_offset + section.sh_name, name) &&
         std::memcmp(name, kSectionName, sizeof name) == 0;
}

bool is_usable(const RegularFile& file, const Elf64_Shdr& section) {
  return section.sh_type != SHT_NOBITS && section.sh_size != 0 &&
         section.sh_size <= kLargestResource && file.contains({section.sh_offset, section.sh_size});
}

std::optional<Range> find_resource(const RegularFile& file) {
  Elf64_Ehdr header;
  if (!file.read(0, header) || !is_our_kind(header)) return std::nullopt;
  const std::uint64_t table_size = std::uint64_t{header.e_shnum} * sizeof(Elf64_Shdr);
  if (!file.contains({header.e_shoff, table_size})) return std::nullopt;
  const auto read_section = [&](std::uint64_t index, Elf64_Shdr& section) {
    return file.read(header.e_shoff + index * sizeof section, section);
  };
  Elf64_Shdr names;
  if (!read_section(header.e_shstrndx, names)) return std::nullopt;
  for (std::uint64_t index = 0; index < header.e_shnum; ++index) {
    Elf64_Shdr section;
    if (!read_section(index, section)) return std::nullopt;
    if (is_usable(file, section) && has_name(file, names, section)) {
      return Range{section.sh_offset, section.sh_size};
    }
  }
  return std::nullopt;
}

}  // namespace

std::size_t version_resource_size(const qm_wchar* file) {
  const RegularFile open(file);
  const std::optional<Range> resource = find_resource(open);
  return resource ? resource->size : 0;
}

bool read_version_resource(const qm_wchar* file, void* block, std::size_t size) {
  const RegularFile open(file);
  const std::optional<Range> resource = find_resource(open);
  return resource && resource->size == size && open.read(resource->offset, block, size);
}

}  // namespace qmsd::platform
