#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_calls.h"
#include "platform/linux/kernel_path.h"

namespace qmsd::platform {

bool os_query_status(const qm_wchar* path, FileStatus& status) {
  struct stat found;
  if (::stat(SystemPath(path).c_str(), &found) != 0) return false;
  status = {S_ISDIR(found.st_mode), S_ISREG(found.st_mode), (found.st_mode & S_IWUSR) != 0};
  return true;
}

bool os_create_directory(const qm_wchar* path) {
  return ::mkdir(SystemPath(path).c_str(), 0777) == 0;
}

bool os_remove_file(const qm_wchar* path) { return ::unlink(SystemPath(path).c_str()) == 0; }

int os_open_for_reading(const qm_wchar* path) {
  return ::open(SystemPath(path).c_str(), O_RDONLY | O_CLOEXEC);
}

// Unlike on Windows a directory can be opened, so it is refused here, before the first read. Files
// that the system generates on the fly report size 0, so seeking decides about them.
std::int64_t os_size(int descriptor) {
  struct stat found;
  if (::fstat(descriptor, &found) != 0) return -1;
  if (S_ISDIR(found.st_mode)) {
    errno = EACCES;
    return -1;
  }
  if (S_ISREG(found.st_mode) && found.st_size > 0) return found.st_size;
  const off_t end = ::lseek(descriptor, 0, SEEK_END);
  return end >= 0 && ::lseek(descriptor, 0, SEEK_SET) == 0 ? end : -1;
}

std::int64_t os_read(int descriptor, void* buffer, std::size_t bytes) {
  return ::read(descriptor, buffer, bytes);
}

void os_close(int descriptor) { ::close(descriptor); }

std::FILE* os_open_for_writing(const qm_wchar* path) {
  std::FILE* const stream = std::fopen(SystemPath(path).c_str(), "wbe");
  if (stream == nullptr && errno == EISDIR) errno = EACCES;  // the number that Windows has for it
  return stream;
}

}  // namespace qmsd::platform
