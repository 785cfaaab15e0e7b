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

// A file open for reading, byte by byte as it is; closed at the end of its life. Nothing is
// buffered: it is made for reading a file in one go.
class InputFile {
 public:
  InputFile() noexcept = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Once. A directory is refused (13), here or when it is asked for its size.
  int open(const qm_wchar* path);
  // Where the file ends; counts in 64 bits.
  int size(std::int64_t& bytes) const;
  // Bytes read; fewer than asked for means the end of the file or a failure.
  std::size_t read(void* buffer, std::size_t bytes);

 private:
  int descriptor_ = -1;
};

// A file whose contents are replaced, byte by byte as they are; closed at the end of its life.
class OutputFile {
 public:
  OutputFile() noexcept = default;
  ~OutputFile() { close(); }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Once. Makes the file, or empties it. A directory cannot be opened (13).
  int open(const qm_wchar* path);
  // 0 when all bytes were taken. The last of them may wait for the closing, which may then fail.
  int write(const void* bytes, std::size_t count);
  int close();

 private:
  std::FILE* stream_ = nullptr;
};

}  // namespace qmsd::platform
