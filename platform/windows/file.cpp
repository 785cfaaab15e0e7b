#include "platform/file.h"

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <wchar.h>

#include <algorithm>
#include <climits>

#include "platform/file_calls.h"

namespace qmsd::platform {

bool os_query_status(const qm_wchar* path, FileStatus& status) {
  // By these names: the shorter ones are macros that change with time and offset settings.
  struct _stat64i32 found;
  if (::_wstat64i32(path, &found) != 0) return false;
  const int kind = found.st_mode & _S_IFMT;
  status = {kind == _S_IFDIR, kind == _S_IFREG, (found.st_mode & _S_IWRITE) != 0};
  return true;
}

bool os_create_directory(const qm_wchar* path) { return ::_wmkdir(path) == 0; }

bool os_remove_file(const qm_wchar* path) { return ::_wremove(path) == 0; }

int os_open_for_reading(const qm_wchar* path) {
  return ::_wopen(path, _O_RDONLY | _O_BINARY | _O_NOINHERIT);
}

std::int64_t os_size(int descriptor) { return ::_filelengthi64(descriptor); }

std::int64_t os_read(int descriptor, void* buffer, std::size_t bytes) {
  constexpr std::size_t kMax = INT_MAX;
  return ::_read(descriptor, buffer, static_cast<unsigned>(std::min(bytes, kMax)));
}

void os_close(int descriptor) { ::_close(descriptor); }

std::FILE* os_open_for_writing(const qm_wchar* path) { return ::_wfopen(path, L"wb"); }

}  // namespace qmsd::platform
