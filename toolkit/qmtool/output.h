// What goes to the screen: JSON documents, and tables whose columns line up.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace qmtool {

using Json = nlohmann::ordered_json;  // members stay in the order in which they are added

// Bytes that are no UTF-8 are shown as U+FFFD.
void print_json(const Json& document);
void print_line(std::string_view text = {});

class Table {
 public:
  explicit Table(std::vector<std::string> heads) : rows_{std::move(heads)} {}

  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  bool empty() const noexcept { return rows_.size() == 1; }
  void print() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace qmtool
