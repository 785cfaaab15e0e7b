#include "toolkit/qmtool/system/threads.h"

#include <filesystem>
#include <iterator>

namespace qmtool {

std::size_t thread_count() {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

}  // namespace qmtool
