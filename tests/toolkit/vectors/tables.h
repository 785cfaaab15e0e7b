// What the vectors refer to by name: calls, records, constants.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/contract/support/text.h"

namespace vectors {

using Json = nlohmann::json;

struct Field {
  std::string name;
  std::string kind;       // i32, u32, pointer, wide, narrow
  std::string direction;  // in, out, in/out
  std::size_t offset;
  std::size_t size;

  bool is_number() const { return kind == "i32" || kind == "u32"; }
};

// A record as this build's compiler lays it out.
struct Layout {
  std::vector<Field> fields;
  std::size_t size = 0;
};

Json read_json(const std::filesystem::path& file);

class Tables {
 public:
  // Reads records.json in the vectors' folder.
  explicit Tables(const std::filesystem::path& folder);

  // A call's name, or a code in digits.
  std::uint32_t code_of(const std::string& call) const;
  // Null for calls without a record of fields.
  const Layout* layout_of(const std::string& call) const;
  // A number as it may be written: 5, "0x10", "QM_FIND_INDEX|QM_FIND_LAST".
  std::uint64_t number(const Json& written) const;

 private:
  std::uint64_t part_of_number(const std::string& part) const;

  Json calls_;
  Json constants_;
  std::map<std::string, Layout> layouts_;
};

// Texts of vectors are ASCII; others are written as units.
contract::Text widened(const std::string& ascii);

}  // namespace vectors
