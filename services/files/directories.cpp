// The status of paths, asked of the system each time, and the making of directories.
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

bool create(const qm_wchar* path) {
  errno = platform::create_directory(path);
  return errno == 0;
}

// Null when there is none from `first` on.
qm_wchar* last_backslash(const qm_wchar* first, qm_wchar* end) {
  while (end != first) {
    if (*--end == '\\') return end;
  }
  return nullptr;
}

// Makes the missing directories above the path. A loop and no recursion: a long path has more parts
// than a small stack has room for.
bool make_parents(const qm_wchar* path) {
  const OwnedText text = copy_text(path);
  if (!text) {
    errno = ENOMEM;
    return false;
  }
  qm_wchar* const behind_root = text.get() + path_root_length(text.get());
  qm_wchar* const whole = text.get() + WideView(text.get()).size();
  qm_wchar* end = whole;

  // Up: cut the text at one backslash after the other until it names a directory.
  bool exists = false;
  while (!exists) {
    qm_wchar* const cut = last_backslash(behind_root, end);
    if (cut == nullptr) break;
    end = cut;
    *end = 0;
    exists = is_directory(text.get());
    if (!exists && errno == ENOTDIR) return false;
  }
  // Down again. Another process may have made a directory meanwhile.
  for (; end != whole; exists = false) {
    if (!exists && !create(text.get()) && errno != EEXIST) return false;
    *end = '\\';
    end += WideView(end).size();
  }
  return true;
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

bool make_directory(const qm_wchar* path, bool recursive, int /*mode*/) {
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
  if (recursive && !make_parents(path)) return false;
  return create(path);
}

}  // namespace qmsd
