// Which module serves which group of function codes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <qm/kernel.hpp>

namespace qmtool {

struct Group {
  std::uint32_t id;
  std::string module;
  bool from_store;  // otherwise one of the kernel's own rows
};

// In the order of the ids: the kernel's rows, and those of the property store, which win.
std::vector<Group> group_table(qm::Kernel kernel);

}  // namespace qmtool
