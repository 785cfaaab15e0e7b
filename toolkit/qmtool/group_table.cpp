#include "toolkit/qmtool/group_table.h"

#include <charconv>
#include <map>

#include <qm/properties.hpp>

#include "toolkit/qmtool/properties.h"

namespace qmtool {
namespace {

// No call tells the kernel's rows; a test holds these to the names under which it looks for them.
const Group kKernelRows[] = {
    {0x1100, "qmproperty", false}, {0x1101, "qmlog", false},      {0x1102, "qmstream", false},
    {0x1103, "qmtrafo", false},    {0x1104, "qmimage", false},    {0x1105, "qmbmp", false},
    {0x1106, "qmjpeg", false},     {0x1107, "qmwatchdog", false}, {0x1108, "qmmotdet", false},
    {0x1109, "qmjpeg2k", false},   {0x110A, "qmzlib", false},     {0x110B, "qmpng", false},
    {0x110D, "qmspeed", false},    {0x110E, "qmpropfile", false}, {0x110F, "qmpropclient", false},
    {0x1110, "qmjpeg8", false},    {0x1111, "qmjpeg12", false},   {0x1113, "qmwsq", false},
};

constexpr const char* kNode = "/default/groups";

// Hexadecimal, as the kernel reads it: "x1200", "1200" or "0x1200". 0 for anything else.
std::uint32_t group_of(std::string_view name) {
  if (name.starts_with('x')) name.remove_prefix(1);
  if (name.starts_with("0x")) name.remove_prefix(2);
  std::uint32_t id = 0;
  std::from_chars(name.data(), name.data() + name.size(), id, 16);
  return id;
}

}  // namespace

std::vector<Group> group_table(qm::Kernel kernel) {
  std::map<std::uint32_t, Group> rows;
  for (const Group& row : kKernelRows) rows.emplace(row.id, row);
  if (const auto names = list_property(kernel, kNode)) {
    for (const std::string& name : *names) {
      const std::uint32_t id = group_of(name);
      const auto module = qm::try_read_property(kernel, kNode + ("/" + name));
      if (id != 0 && module) rows.insert_or_assign(id, Group{id, *module, true});
    }
  }
  std::vector<Group> table;
  for (auto& [id, row] : rows) table.push_back(std::move(row));
  return table;
}

}  // namespace qmtool
