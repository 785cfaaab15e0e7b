// Files and directories of the system. Paths are kernel paths with backslashes; natively they are
// turned into slashes and UTF-8 here, and nothing else happens to them.
// All results are 0 or an errno value, which is never 0 for a failure; nothing is retried.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "include/qmsd7.h"

namespace qmsd::platform {

struct FileStatus {
  bool is_directory;
  bool is_regular;
  bool is_owner_writable;
};

int query_status(const qm_wchar* path, FileStatus& status);
int create_directory(const qm_wchar* path);
int remove_file(const qm_wchar* path);

// A file open in binary mode; closed at the end of its life.
class File {
 public:
  enum class Mode { read, replace };

  File() noexcept = default;
  ~File();
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // A directory cannot be opened (13).
  int open(const qm_wchar* path, Mode mode);
  // Goes to the end and back. Counts in 64 bits.
  int size(std::int64_t& bytes);
  // Bytes read; fewer than asked for means the end of the file or a failure.
  std::size_t read(void* buffer, std::size_t bytes);
  // 0 when all bytes were taken, else an errno value.
  int write(const void* bytes, std::size_t count);
  int close();

 private:
  std::FILE* file_ = nullptr;
};

}  // namespace qmsd::platform
