// A record in memory, whose fields are reached by their layout.
#pragma once

#include <cstdint>

#include "tests/toolkit/vectors/memory.h"
#include "tests/toolkit/vectors/tables.h"

namespace vectors {

// What fields hold that a call is to leave alone or to fill.
inline constexpr std::uint64_t kPoison = 0xC3C3C3C3C3C3C3C3;

class Record {
 public:
  explicit Record(const Layout& layout)
      : layout_(layout), bytes_((layout.size + sizeof(Word) - 1) / sizeof(Word)) {}

  const std::vector<Field>& fields() const { return layout_.fields; }
  void* data() { return bytes_.data(); }

  void set(const Field& field, std::uint64_t value);
  // Of numbers the low 32 bits.
  std::uint64_t get(const Field& field) const;
  // The pointer in a field.
  const void* pointer(const Field& field) const;
  const Field& field(const std::string& name) const;

  // The value as a field can hold it.
  static std::uint64_t cut(const Field& field, std::uint64_t value);

 private:
  using Word = std::uint64_t;  // aligned for every field

  const Layout& layout_;
  std::vector<Word> bytes_;
};

}  // namespace vectors
