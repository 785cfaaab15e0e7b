#include "tests/toolkit/vectors/tables.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vectors {
namespace {

Layout laid_out(const Json& fields) {
  Layout layout;
  std::size_t alignment = 1;
  for (const Json& field : fields) {
    const std::string kind = field.at(1);
    const std::size_t size = kind == "i32" || kind == "u32" ? sizeof(std::int32_t) : sizeof(void*);
    const std::size_t offset = (layout.size + size - 1) / size * size;
    layout.fields.push_back({field.at(0), kind, field.at(2), offset, size});
    layout.size = offset + size;
    alignment = std::max(alignment, size);
  }
  layout.size = (layout.size + alignment - 1) / alignment * alignment;
  return layout;
}

}  // namespace

Json read_json(const std::filesystem::path& file) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  return Json::parse(stream);
}

Tables::Tables(const std::filesystem::path& folder) {
  const Json tables = read_json(folder / "records.json");
  calls_ = tables.at("calls");
  constants_ = tables.at("constants");
  for (const auto& [name, fields] : tables.at("records").items()) {
    layouts_.emplace(name, laid_out(fields));
  }
}

std::uint32_t Tables::code_of(const std::string& call) const {
  const auto known = calls_.find(call);
  const std::string code = known == calls_.end() ? call : known->at("code").get<std::string>();
  return static_cast<std::uint32_t>(std::stoul(code, nullptr, 0));
}

const Layout* Tables::layout_of(const std::string& call) const {
  const auto known = calls_.find(call);
  if (known == calls_.end() || known->at("record").is_null()) return nullptr;
  const auto layout = layouts_.find(known->at("record").get<std::string>());
  return layout == layouts_.end() ? nullptr : &layout->second;
}

std::uint64_t Tables::part_of_number(const std::string& part) const {
  const auto known = constants_.find(part);
  return known == constants_.end() ? std::stoull(part, nullptr, 0) : known->get<std::uint64_t>();
}

std::uint64_t Tables::number(const Json& written) const {
  if (written.is_number_unsigned()) return written.get<std::uint64_t>();
  if (written.is_number()) return static_cast<std::uint64_t>(written.get<std::int64_t>());
  std::istringstream parts(written.get<std::string>());
  std::uint64_t value = 0;
  for (std::string part; std::getline(parts, part, '|');) value |= part_of_number(part);
  return value;
}

contract::Text widened(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

}  // namespace vectors
