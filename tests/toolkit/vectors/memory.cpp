#include "tests/toolkit/vectors/memory.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "include/qmsd7.h"

namespace vectors {
namespace {

constexpr std::size_t kGuard = 16;

template <class Value>
void append(Bytes& bytes, Value value) {
  unsigned char raw[sizeof value];
  std::memcpy(raw, &value, sizeof value);
  bytes.insert(bytes.end(), raw, raw + sizeof value);
}

Bytes hexadecimal(const std::string& digits) {
  Bytes bytes;
  std::istringstream stream(digits);
  for (unsigned byte; stream >> std::hex >> byte;) {
    bytes.push_back(static_cast<unsigned char>(byte));
  }
  return bytes;
}

// Little-endian, as both systems are: the low bytes of the number.
Bytes integers(const Tables& tables, const Json& numbers, std::size_t size) {
  Bytes bytes;
  for (const Json& number : numbers) {
    append(bytes, tables.number(number));
    bytes.resize(bytes.size() - sizeof(std::uint64_t) + size);
  }
  return bytes;
}

template <class Value>
Bytes floating(const Json& numbers) {
  Bytes bytes;
  for (const Json& number : numbers) append(bytes, number.get<Value>());
  return bytes;
}

Bytes numbers_of(const Tables& tables, const std::string& kind, const Json& numbers) {
  if (kind == "f32") return floating<float>(numbers);
  if (kind == "f64") return floating<double>(numbers);
  return integers(tables, numbers, std::stoul(kind.substr(1)) / 8);
}

template <class Character>
Bytes terminated(const std::basic_string<Character>& text) {
  Bytes bytes;
  for (const Character character : text) append(bytes, character);
  append(bytes, Character{});
  return bytes;
}

}  // namespace

Bytes bytes_of(const Tables& tables, const Json& written) {
  if (written.contains("room")) {
    return Bytes(written["room"].get<std::size_t>(), written.value("fill", kFill));
  }
  const std::string kind = written.begin().key();
  const Json& value = written.front();
  if (kind == "wide") return terminated(widened(value));
  if (kind == "narrow") return terminated(value.get<std::string>());
  if (kind == "bytes") return hexadecimal(value);
  return kind == "utf16" ? integers(tables, value, sizeof(qm_wchar))
                         : numbers_of(tables, kind, value);
}

void* Memory::place_bytes(const void* bytes, std::size_t size) {
  auto piece = std::make_unique<unsigned char[]>(size + kGuard);
  if (size != 0) std::memcpy(piece.get(), bytes, size);
  std::memset(piece.get() + size, kFill, kGuard);
  pieces_.push_back({std::move(piece), size});
  return pieces_.back().bytes.get();
}

void* Memory::place(const Json& written) {
  if (written.is_null()) return nullptr;
  if (written.contains("texts")) return place_texts(written["texts"]);
  if (written.contains("object")) return place_object(written["object"]);
  const Bytes bytes = bytes_of(tables_, written);
  return place_bytes(bytes.data(), bytes.size());
}

void* Memory::place_text(const Json& text_or_null) {
  return text_or_null.is_null() ? nullptr : place({{"wide", text_or_null}});
}

void* Memory::place_texts(const Json& pairs) {
  std::vector<qm_error_text> texts;
  for (const Json& pair : pairs) {
    texts.push_back({pair.at(0), static_cast<const qm_wchar*>(place_text(pair.at(1)))});
  }
  return place_bytes(texts.data(), texts.size() * sizeof(qm_error_text));
}

void* Memory::place_object(const Json& fields) {
  const auto word = [&](std::size_t at) {
    return static_cast<std::uint32_t>(tables_.number(fields.at(at)));
  };
  const qm_object_data data{word(0),
                            static_cast<const qm_wchar*>(place_text(fields.at(1))),
                            {word(2), word(3), word(4), word(5)}};
  return place_bytes(&data, sizeof data);
}

bool Memory::guards_hold() const {
  return std::all_of(pieces_.begin(), pieces_.end(), [](const Piece& piece) {
    const unsigned char* guard = piece.bytes.get() + piece.size;
    return std::all_of(guard, guard + kGuard, [](unsigned char byte) { return byte == kFill; });
  });
}

}  // namespace vectors
