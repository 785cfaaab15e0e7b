#include "platform/file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/linux/kernel_path.h"

namespace qmsd::platform {
namespace {

int error_or(int otherwise) { return errno != 0 ? errno : otherwise; }

}  // namespace

int query_status(const qm_wchar* path, FileStatus& status) {
  struct stat found;
  errno = 0;
  if (::stat(SystemPath(path).c_str(), &found) != 0) return error_or(EFAULT);
  status = {S_ISDIR(found.st_mode), S_ISREG(found.st_mode), (found.st_mode & S_IWUSR) != 0};
  return 0;
}

int create_directory(const qm_wchar* path) {
  errno = 0;
  return ::mkdir(SystemPath(path).c_str(), 0777) == 0 ? 0 : error_or(EFAULT);
}

int remove_file(const qm_wchar* path) {
  errno = 0;
  return ::unlink(SystemPath(path).c_str()) == 0 ? 0 : error_or(EFAULT);
}

File::~File() { close(); }

int File::open(const qm_wchar* path, Mode mode) {
  const SystemPath system_path(path);
  // Reading a directory is refused at once here, as on Windows, and not by the first read.
  struct stat found;
  if (::stat(system_path.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) return EACCES;
  errno = 0;
  file_ = std::fopen(system_path.c_str(), mode == Mode::read ? "rbe" : "wbe");
  return file_ != nullptr ? 0 : error_or(EFAULT);
}

int File::size(std::int64_t& bytes) {
  errno = 0;
  if (::fseeko(file_, 0, SEEK_END) != 0) return error_or(ERANGE);
  bytes = ::ftello(file_);
  return bytes >= 0 && ::fseeko(file_, 0, SEEK_SET) == 0 ? 0 : error_or(ERANGE);
}

std::size_t File::read(void* buffer, std::size_t bytes) {
  return std::fread(buffer, 1, bytes, file_);
}

int File::write(const void* bytes, std::size_t count) {
  errno = 0;
  return std::fwrite(bytes, 1, count, file_) == count ? 0 : error_or(EFAULT);
}

int File::close() {
  if (file_ == nullptr) return 0;
  errno = 0;
  return std::fclose(std::exchange(file_, nullptr)) == 0 ? 0 : error_or(EFAULT);
}

}  // namespace qmsd::platform
