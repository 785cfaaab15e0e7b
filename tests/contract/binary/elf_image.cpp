#include "tests/contract/binary/elf_image.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace binary {

ElfImage::ElfImage(const std::string& path) : bytes_(path) {
  const auto header = bytes_.at<Elf64_Ehdr>(0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64) {
    throw std::runtime_error(path + " is no 64-bit library");
  }
  segments_ = bytes_.array_at<Elf64_Phdr>(header.e_phoff, header.e_phnum);
  sections_ = bytes_.array_at<Elf64_Shdr>(header.e_shoff, header.e_shnum);
  const auto dynamic = section(SHT_DYNAMIC).value();
  dynamic_ = bytes_.array_at<Elf64_Dyn>(dynamic.sh_offset, dynamic.sh_size / sizeof(Elf64_Dyn));
}

std::vector<ElfImage::Symbol> ElfImage::symbols() const {
  const auto table = section(SHT_DYNSYM).value();
  const auto texts = sections_.at(table.sh_link);
  const std::size_t count = table.sh_size / sizeof(Elf64_Sym);
  const auto entries = bytes_.array_at<Elf64_Sym>(table.sh_offset, count);
  const auto versions =
      bytes_.array_at<Elf64_Half>(section(SHT_GNU_versym).value().sh_offset, count);

  std::vector<Symbol> symbols;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned binding = ELF64_ST_BIND(entries[i].st_info);
    if (binding == STB_LOCAL) continue;
    symbols.push_back({bytes_.text_at(texts.sh_offset + entries[i].st_name),
                       entries[i].st_shndx != SHN_UNDEF, binding == STB_WEAK,
                       versions[i] > VER_NDX_GLOBAL});
  }
  return symbols;
}

std::vector<std::string> ElfImage::dynamic_texts(std::int64_t tag) const {
  const auto texts = sections_.at(section(SHT_DYNAMIC).value().sh_link);
  std::vector<std::string> found;
  for (const Elf64_Dyn& entry : dynamic_) {
    if (entry.d_tag == tag) found.push_back(bytes_.text_at(texts.sh_offset + entry.d_un.d_val));
  }
  return found;
}

std::uint64_t ElfImage::dynamic_value(std::int64_t tag) const {
  const auto entry = std::find_if(dynamic_.begin(), dynamic_.end(),
                                  [tag](const Elf64_Dyn& each) { return each.d_tag == tag; });
  return entry == dynamic_.end() ? 0 : entry->d_un.d_val;
}

std::optional<Elf64_Phdr> ElfImage::segment(std::uint32_t type) const {
  const auto found = std::find_if(segments_.begin(), segments_.end(),
                                  [type](const Elf64_Phdr& each) { return each.p_type == type; });
  return found == segments_.end() ? std::nullopt : std::optional(*found);
}

std::optional<Elf64_Shdr> ElfImage::section(std::uint32_t type) const {
  const auto found = std::find_if(sections_.begin(), sections_.end(),
                                  [type](const Elf64_Shdr& each) { return each.sh_type == type; });
  return found == sections_.end() ? std::nullopt : std::optional(*found);
}

}  // namespace binary
