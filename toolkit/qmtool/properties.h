// What the property store offers beside reading, through the module that serves its group.
#pragma once

#include <string>
#include <vector>

#include <qm/properties.hpp>

namespace qmtool {

// Errors of all: those of the property module; 0x1000 when there is none.
// The names of a node's children; none for a value.
qm::Result<std::vector<std::string>> list_property(qm::Kernel kernel, const std::string& path);
// Both also save the store.
void write_property(qm::Kernel kernel, const std::string& path, const std::string& value);
void remove_property(qm::Kernel kernel, const std::string& path);

}  // namespace qmtool
