#include "platform/system_paths.h"

#include <unistd.h>

#include "platform/linux/utf8.h"

namespace qmsd::platform {

void os_system_directory(qm_wchar* buffer, std::size_t length) {
  if (!widen_utf8(QMSD_SYSTEM_DIRECTORY, buffer, length)) buffer[0] = 0;
}

bool os_listed_system_directory(qm_wchar* buffer, std::size_t length) {
  os_system_directory(buffer, length);
  return buffer[0] != 0;
}

std::size_t os_executable_name(char* buffer, std::size_t size) noexcept {
  const ssize_t written = ::readlink("/proc/self/exe", buffer, size - 1);
  const std::size_t length = written < 0 ? 0 : static_cast<std::size_t>(written);
  buffer[length] = 0;
  return length;
}

}  // namespace qmsd::platform
