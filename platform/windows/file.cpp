#include "platform/file.h"

#include <direct.h>
#include <io.h>
#include <sys/stat.h>
#include <wchar.h>

#include <cerrno>
#include <utility>

namespace qmsd::platform {
namespace {

int error_or(int otherwise) { return errno != 0 ? errno : otherwise; }

}  // namespace

int query_status(const qm_wchar* path, FileStatus& status) {
  // By these names: the shorter ones are macros that change with time and offset settings.
  struct _stat64i32 found;
  errno = 0;
  if (::_wstat64i32(path, &found) != 0) return error_or(EFAULT);
  const int kind = found.st_mode & _S_IFMT;
  status = {kind == _S_IFDIR, kind == _S_IFREG, (found.st_mode & _S_IWRITE) != 0};
  return 0;
}

int create_directory(const qm_wchar* path) {
  errno = 0;
  return ::_wmkdir(path) == 0 ? 0 : error_or(EFAULT);
}

int remove_file(const qm_wchar* path) {
  errno = 0;
  return ::_wremove(path) == 0 ? 0 : error_or(EFAULT);
}

File::~File() { close(); }

int File::open(const qm_wchar* path, Mode mode) {
  errno = 0;
  file_ = ::_wfopen(path, mode == Mode::read ? L"rb" : L"wb");
  return file_ != nullptr ? 0 : error_or(EFAULT);
}

// The stream's own position has 32 bits, so the file behind it is asked.
int File::size(std::int64_t& bytes) {
  errno = 0;
  bytes = ::_filelengthi64(::_fileno(file_));
  return bytes >= 0 ? 0 : error_or(ERANGE);
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
