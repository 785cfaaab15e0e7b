// Library files of Linux. All that the dynamic loader reads hangs on the program headers; sections
// may be stripped.
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "toolkit/qmtool/image/formats.h"

namespace qmtool {
namespace {

struct Machine {
  std::uint16_t code;
  const char* name;
};
constexpr Machine kMachines[] = {
    {3, "x86"}, {62, "x86-64"}, {40, "ARM"}, {183, "ARM64"}, {243, "RISC-V"}};

constexpr std::uint8_t kClass32 = 1;
constexpr std::uint8_t kClass64 = 2;
constexpr std::uint8_t kLittleEndian = 1;
constexpr std::uint16_t kExecutable = 2;
constexpr std::uint16_t kShared = 3;

constexpr std::uint32_t kLoadSegment = 1;
constexpr std::uint32_t kDynamicSegment = 2;

enum Tag : std::uint64_t {
  kEnd = 0,
  kNeeded = 1,
  kHash = 4,
  kStrings = 5,
  kSymbols = 6,
  kRPath = 15,
  kRunPath = 29,
  kGnuHash = 0x6FFFFEF5,
  kFlags1 = 0x6FFFFFFB,
};
constexpr std::uint64_t kIsProgram = 0x08000000;  // in kFlags1

constexpr unsigned kGlobal = 1;
constexpr unsigned kWeak = 2;
constexpr unsigned kUnique = 10;

struct Segment {
  std::uint64_t address;
  std::uint64_t offset;
  std::uint64_t size;
};

struct Entry {
  std::uint64_t tag;
  std::uint64_t value;
};

// Where the fields of the tables lie, for either word size.
struct Layout {
  std::uint64_t word;
  std::uint64_t segments_at, segment_size_at, segment_count_at;
  std::uint64_t segment_offset, segment_address, segment_file_size;
  std::uint64_t symbol_size, symbol_info, symbol_section;
};
constexpr Layout kLayout32{4, 28, 42, 44, 4, 8, 16, 16, 12, 14};
constexpr Layout kLayout64{8, 32, 54, 56, 8, 16, 32, 24, 4, 6};

std::string machine_name(std::uint16_t code) {
  const auto known = std::ranges::find(kMachines, code, &Machine::code);
  return known != std::end(kMachines) ? known->name : "machine " + std::to_string(code);
}

class ElfReader {
 public:
  ElfReader(const Bytes& file, Image& image) : file_(file), image_(image) {}

  void read() {
    read_header();
    read_segments();
    if (!dynamic_) throw Damage("is not made for dynamic loading");
    read_entries();
    read_names_of_entries();
    read_symbols();
  }

 private:
  template <std::unsigned_integral Number>
  std::uint64_t number(std::uint64_t offset) const {
    return file_.read<Number>(offset);
  }
  std::uint64_t word(std::uint64_t offset) const {
    return layout_->word == 8 ? number<std::uint64_t>(offset) : number<std::uint32_t>(offset);
  }

  void read_header() {
    const std::uint64_t word_class = number<std::uint8_t>(4);
    if (word_class != kClass32 && word_class != kClass64) throw Damage("has an unknown word size");
    layout_ = word_class == kClass32 ? &kLayout32 : &kLayout64;
    if (number<std::uint8_t>(5) != kLittleEndian) throw Damage("is for big-endian machines");
    image_.bits = word_class == kClass32 ? 32 : 64;
    image_.machine = machine_name(file_.read<std::uint16_t>(18));
    const std::uint64_t type = number<std::uint16_t>(16);
    image_.is_program = type == kExecutable;
    if (type != kExecutable && type != kShared) throw Damage("is no linked library");
  }

  void read_segments() {
    const std::uint64_t table = word(layout_->segments_at);
    const std::uint64_t size = number<std::uint16_t>(layout_->segment_size_at);
    const std::uint64_t count = number<std::uint16_t>(layout_->segment_count_at);
    if (!file_.contains(table, size * count)) throw truncation();
    for (std::uint64_t at = table; at < table + size * count; at += size) {
      const Segment segment{word(at + layout_->segment_address), word(at + layout_->segment_offset),
                            word(at + layout_->segment_file_size)};
      const std::uint64_t type = number<std::uint32_t>(at);
      if (type == kLoadSegment) {
        if (!file_.contains(segment.offset, segment.size)) throw truncation();
        segments_.push_back(segment);
      } else if (type == kDynamicSegment) {
        if (!file_.contains(segment.offset, segment.size)) throw truncation();
        dynamic_ = segment;
      }
    }
  }

  std::uint64_t offset_of(std::uint64_t address) const {
    for (const Segment& segment : segments_) {
      if (address >= segment.address && address - segment.address < segment.size) {
        return segment.offset + (address - segment.address);
      }
    }
    throw Damage("has a table that lies in none of its segments");
  }

  void read_entries() {
    const std::uint64_t end = dynamic_->offset + dynamic_->size;
    for (std::uint64_t at = dynamic_->offset; at + 2 * layout_->word <= end;
         at += 2 * layout_->word) {
      const Entry entry{word(at), word(at + layout_->word)};
      if (entry.tag == kEnd) return;
      entries_.push_back(entry);
    }
  }

  std::optional<std::uint64_t> value_of(Tag tag) const {
    const auto found = std::ranges::find(entries_, std::uint64_t{tag}, &Entry::tag);
    if (found == entries_.end()) return std::nullopt;
    return found->value;
  }

  std::string_view string_at(std::uint64_t index) const { return file_.text(strings_ + index); }

  void read_names_of_entries() {
    const auto strings = value_of(kStrings);
    if (!strings) throw Damage("has no table of names");
    strings_ = offset_of(*strings);
    // A newer list of folders puts the older one out of use.
    const Tag folders = value_of(kRunPath) ? kRunPath : kRPath;
    for (const Entry& entry : entries_) {
      if (entry.tag == kNeeded) image_.imports.push_back({string_at(entry.value), {}});
      if (entry.tag == folders) image_.run_path.push_back(string_at(entry.value));
      if (entry.tag == kFlags1 && (entry.value & kIsProgram) != 0) image_.is_program = true;
    }
  }

  void read_symbols() {
    const auto symbols = value_of(kSymbols);
    if (!symbols) return;
    const std::uint64_t table = offset_of(*symbols);
    const std::uint64_t count = symbol_count();
    for (std::uint64_t i = 1; i < count; ++i) read_symbol(table + i * layout_->symbol_size);
  }

  void read_symbol(std::uint64_t at) {
    const std::string_view name = string_at(number<std::uint32_t>(at));
    const std::uint64_t info = number<std::uint8_t>(at + layout_->symbol_info);
    const std::uint64_t visibility = number<std::uint8_t>(at + layout_->symbol_info + 1) & 3;
    const bool is_defined = number<std::uint16_t>(at + layout_->symbol_section) != 0;
    const std::uint64_t binding = info >> 4;
    if (name.empty()) return;
    if (!is_defined && binding == kGlobal) image_.wanted.push_back(name);
    const bool is_public = binding == kGlobal || binding == kWeak || binding == kUnique;
    const bool is_visible = visibility == 0 || visibility == 3;
    if (is_defined && is_public && is_visible) image_.exports.push_back(name);
  }

  // Nothing tells the number of symbols but the tables by which they are looked up.
  std::uint64_t symbol_count() const {
    if (const auto table = value_of(kHash)) {
      return number<std::uint32_t>(offset_of(*table) + 4);
    }
    const auto table = value_of(kGnuHash);
    return table ? count_by_gnu_hash(offset_of(*table)) : 0;
  }

  std::uint64_t count_by_gnu_hash(std::uint64_t at) const {
    const std::uint64_t buckets = number<std::uint32_t>(at);
    const std::uint64_t first = number<std::uint32_t>(at + 4);
    const std::uint64_t bucket_table = at + 16 + number<std::uint32_t>(at + 8) * layout_->word;
    const std::uint64_t chains = bucket_table + buckets * 4;
    std::uint64_t last = 0;
    for (std::uint64_t i = 0; i < buckets; ++i) {
      last = std::max(last, number<std::uint32_t>(bucket_table + i * 4));
    }
    if (last < first) return first;
    // The chain of the last bucket ends with an odd number.
    while ((number<std::uint32_t>(chains + (last - first) * 4) & 1) == 0) ++last;
    return last + 1;
  }

  const Bytes& file_;
  Image& image_;
  const Layout* layout_ = nullptr;
  std::uint64_t strings_ = 0;
  std::optional<Segment> dynamic_;
  std::vector<Segment> segments_;
  std::vector<Entry> entries_;
};

}  // namespace

void read_elf(const Bytes& file, Image& image) { ElfReader(file, image).read(); }

}  // namespace qmtool
