// What the pointers of a record lead to while a call is made.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "tests/toolkit/vectors/tables.h"

namespace vectors {

using Bytes = std::vector<unsigned char>;

// What fills buffers and the guards behind them.
inline constexpr unsigned char kFill = 0x23;

// The bytes that typed data stands for: {"wide": "text"}, {"i32": [1, 2]}, {"room": 8} ...
Bytes bytes_of(const Tables& tables, const Json& written);

class Memory {
 public:
  explicit Memory(const Tables& tables) : tables_(tables) {}

  // Typed data in a piece of memory of its own; null stays null.
  void* place(const Json& written);
  // Has nobody written behind a piece?
  bool guards_hold() const;

 private:
  struct Piece {
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size;
  };

  void* place_bytes(const void* bytes, std::size_t size);
  void* place_text(const Json& text_or_null);
  void* place_texts(const Json& pairs);
  void* place_object(const Json& fields);

  const Tables& tables_;
  std::vector<Piece> pieces_;
};

}  // namespace vectors
