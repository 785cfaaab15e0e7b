#include "toolkit/qmtool/output.h"

#include <algorithm>
#include <iostream>

namespace qmtool {
namespace {

// Characters rather than bytes.
std::size_t width_of(std::string_view utf8) {
  return static_cast<std::size_t>(
      std::ranges::count_if(utf8, [](char unit) { return (unit & 0xC0) != 0x80; }));
}

}  // namespace

void print_json(const Json& document) {
  std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void print_line(std::string_view text) { std::cout << text << '\n'; }

void Table::print() const {
  std::vector<std::size_t> widths;
  for (const auto& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width_of(row[i]));
  }
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] - width_of(row[i]) + 2, ' ');
    }
    print_line(line.substr(0, line.find_last_not_of(' ') + 1));
  }
}

}  // namespace qmtool
