// What a 64-bit Linux library file says of itself.
#pragma once

#include <elf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/contract/binary/file_bytes.h"

namespace binary {

class ElfImage {
 public:
  struct Symbol {
    std::string name;
    bool defined;
    bool weak;
    // Bound to a version of a needed library.
    bool versioned;
  };

  explicit ElfImage(const std::string& path);

  // The global symbols that the dynamic loader sees.
  std::vector<Symbol> symbols() const;
  std::vector<std::string> needed_libraries() const { return dynamic_texts(DT_NEEDED); }
  // The texts of all dynamic entries with this tag.
  std::vector<std::string> dynamic_texts(std::int64_t tag) const;
  std::uint64_t dynamic_value(std::int64_t tag) const;  // 0 when there is none
  std::optional<Elf64_Phdr> segment(std::uint32_t type) const;

 private:
  std::optional<Elf64_Shdr> section(std::uint32_t type) const;

  FileBytes bytes_;
  std::vector<Elf64_Phdr> segments_;
  std::vector<Elf64_Shdr> sections_;
  std::vector<Elf64_Dyn> dynamic_;
};

}  // namespace binary
