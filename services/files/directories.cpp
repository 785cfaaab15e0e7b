// Directories.
#include "services/files/directories.h"

#include <cerrno>

#include "platform/file.h"
#include "services/files/path_names.h"

namespace qmsd {
namespace {

// What a test of a path leaves in errno.
bool answer(bool is_wanted, bool is_writable, int otherwise) {
  const int writable = is_writable ? 0 : EACCES;
  errno = is_wanted ? writable : otherwise;
  return is_wanted;
}

bool query(const qm_wchar* path, platform::FileStatus& status) {
  const int error = platform::query_status(path, status);
  if (error != 0) errno = error;
  return error == 0;
}

// The parent of a path, made if missing.
bool make_parent(const qm_wchar* path, int mode) {
  const OwnedText parent = parent_directory(path);
  return parent && (make_directory(parent.get(), true, mode) || errno == EEXIST);
}

}  // namespace

bool is_directory(const qm_wchar* path) {
  platform::FileStatus status;
  return query(path, status) && answer(status.is_directory, status.is_owner_writable, ENOTDIR);
}

bool is_regular_file(const qm_wchar* path) {
  platform::FileStatus status;
  return query(path, status) && answer(status.is_regular, status.is_owner_writable, EISDIR);
}

bool make_directory(const qm_wchar* path, bool recursive, int mode) {
  if (path == nullptr) {
    errno = EINVAL;
    return false;
  }
  if (*path_root_end(path) == 0) return true;
  if (is_directory(path)) {
    errno = EEXIST;
    return false;
  }
  if (errno == ENOTDIR) return false;
  if (recursive && !make_parent(path, mode)) return false;
  const int error = platform::create_directory(path);
  errno = error;
  return error == 0;
}

}  // namespace qmsd
