// Library files of Windows: headers, sections, and the tables of exports and imports.
#include <algorithm>
#include <array>
#include <cstdint>

#include "toolkit/qmtool/image/formats.h"

namespace qmtool {
namespace {

struct Machine {
  std::uint16_t code;
  const char* name;
};
constexpr Machine kMachines[] = {
    {0x014C, "x86"}, {0x8664, "x86-64"}, {0x01C4, "ARM"}, {0xAA64, "ARM64"}, {0x0200, "Itanium"}};

constexpr std::uint16_t kIsLibrary = 0x2000;
constexpr std::uint16_t kMagic32 = 0x10B;
constexpr std::uint16_t kMagic64 = 0x20B;

constexpr std::uint64_t kFileHeaderSize = 20;
constexpr std::uint64_t kSectionSize = 40;
constexpr std::uint64_t kImportSize = 20;

enum Directory : std::uint32_t { kExports = 0, kImports = 1 };

struct Section {
  std::uint32_t address;
  std::uint32_t offset;
  std::uint32_t size;  // of the part that lies in the file
};

std::string machine_name(std::uint16_t code) {
  const auto known = std::ranges::find(kMachines, code, &Machine::code);
  return known != std::end(kMachines) ? known->name : "machine " + std::to_string(code);
}

class PeReader {
 public:
  PeReader(const Bytes& file, Image& image) : file_(file), image_(image) {}

  void read() {
    read_headers();
    read_sections();
    read_exports();
    read_imports();
  }

 private:
  std::uint16_t word(std::uint64_t offset) const { return file_.read<std::uint16_t>(offset); }
  std::uint32_t dword(std::uint64_t offset) const { return file_.read<std::uint32_t>(offset); }

  void read_headers() {
    const std::uint64_t start = dword(0x3C);
    if (!file_.contains(start, 4)) throw truncation();
    if (file_.part(start, 4) != std::string_view("PE\0\0", 4)) {
      throw Damage("is a program for DOS or 16-bit Windows", ImageFault::foreign);
    }
    header_ = start + 4;
    optional_ = header_ + kFileHeaderSize;
    image_.machine = machine_name(word(header_));
    image_.is_program = (word(header_ + 18) & kIsLibrary) == 0;
    const std::uint16_t magic = word(optional_);
    if (magic != kMagic32 && magic != kMagic64) throw Damage("has no header that Windows knows");
    image_.bits = magic == kMagic32 ? 32 : 64;
  }

  void read_sections() {
    headers_size_ = dword(optional_ + 60);
    const std::uint64_t table = optional_ + word(header_ + 16);
    const std::uint16_t count = word(header_ + 2);
    for (std::uint64_t at = table; at < table + count * kSectionSize; at += kSectionSize) {
      const Section section{dword(at + 12), dword(at + 20), dword(at + 16)};
      if (!file_.contains(section.offset, section.size)) throw truncation();
      sections_.push_back(section);
    }
  }

  // Address of a table in memory; 0 when the file has none.
  std::uint32_t directory(Directory which) const {
    const std::uint64_t count_at = optional_ + (image_.bits == 32 ? 92 : 108);
    if (which >= dword(count_at)) return 0;
    return dword(count_at + 4 + std::uint64_t{which} * 8);
  }

  // Where in the file the bytes of an address lie.
  std::uint64_t offset_of(std::uint64_t address) const {
    if (address < headers_size_) return address;
    for (const Section& section : sections_) {
      if (address >= section.address && address - section.address < section.size) {
        return section.offset + (address - section.address);
      }
    }
    throw Damage("has a table that lies in none of its sections");
  }

  void read_exports() {
    const std::uint32_t table = directory(kExports);
    if (table == 0) return;
    const std::uint64_t at = offset_of(table);
    const std::uint32_t count = dword(at + 24);
    if (count == 0) return;
    const std::uint64_t names = offset_of(dword(at + 32));
    for (std::uint64_t i = 0; i < count; ++i) {
      image_.exports.push_back(file_.text(offset_of(dword(names + i * 4))));
    }
  }

  void read_imports() {
    const std::uint32_t table = directory(kImports);
    if (table == 0) return;
    for (std::uint64_t at = offset_of(table); dword(at + 12) != 0; at += kImportSize) {
      count_import();
      Import import{file_.text(offset_of(dword(at + 12))), {}};
      // Linkers that bind early overwrite the second list.
      const std::uint32_t list = dword(at) != 0 ? dword(at) : dword(at + 16);
      if (list != 0) read_imported_names(offset_of(list), import);
      image_.imports.push_back(std::move(import));
    }
  }

  void read_imported_names(std::uint64_t at, Import& import) {
    const std::uint64_t size = image_.bits / 8;
    const std::uint64_t by_number = std::uint64_t{1} << (image_.bits - 1);
    for (;; at += size) {
      const std::uint64_t entry = size == 4 ? dword(at) : file_.read<std::uint64_t>(at);
      if (entry == 0) return;
      count_import();
      if ((entry & by_number) == 0) import.names.push_back(file_.text(offset_of(entry) + 2));
    }
  }

  // Tables may overlap in a damaged file; together they would be endless.
  void count_import() {
    if (++import_count_ > file_.size() / 4) throw Damage("has tables of imports that overlap");
  }

  const Bytes& file_;
  Image& image_;
  std::uint64_t header_ = 0;
  std::uint64_t optional_ = 0;
  std::uint64_t headers_size_ = 0;
  std::uint64_t import_count_ = 0;
  std::vector<Section> sections_;
};

}  // namespace

void read_pe(const Bytes& file, Image& image) { PeReader(file, image).read(); }

}  // namespace qmtool
