// What can be seen of threads.
#pragma once

#include <cstddef>

namespace qmtool {

// How many threads this process has.
std::size_t thread_count();

}  // namespace qmtool
