// The folders that the system's list of libraries (/etc/ld.so.cache) names.
#pragma once

#include <filesystem>
#include <vector>

namespace qmtool {

// Empty when there is no list, or none of the known form.
std::vector<std::filesystem::path> folders_of_loader_cache();

}  // namespace qmtool
