// Files by descriptor for reading, where a buffer between would only be a second copy, and by
// stream for writing.
#include "platform/file.h"

#include <cerrno>
#include <utility>

#include "platform/file_calls.h"

namespace qmsd::platform {
namespace {

// What a call left in errno; runtimes set nothing in some failures.
template <class Call>
int error_of(Call call, int otherwise = EFAULT) {
  errno = 0;
  if (call()) return 0;
  return errno != 0 ? errno : otherwise;
}

}  // namespace

int query_status(const qm_wchar* path, FileStatus& status) {
  return error_of([&] { return os_query_status(path, status); });
}

int create_directory(const qm_wchar* path) {
  return error_of([path] { return os_create_directory(path); });
}

int remove_file(const qm_wchar* path) {
  return error_of([path] { return os_remove_file(path); });
}

InputFile::~InputFile() {
  if (descriptor_ >= 0) os_close(descriptor_);
}

int InputFile::open(const qm_wchar* path) {
  return error_of([&] { return (descriptor_ = os_open_for_reading(path)) >= 0; });
}

int InputFile::size(std::int64_t& bytes) const {
  return error_of([&] { return (bytes = os_size(descriptor_)) >= 0; }, ERANGE);
}

// One call of the system may give less than there is.
std::size_t InputFile::read(void* buffer, std::size_t bytes) {
  auto* const begin = static_cast<char*>(buffer);
  std::size_t done = 0;
  while (done < bytes) {
    const std::int64_t count = os_read(descriptor_, begin + done, bytes - done);
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

int OutputFile::open(const qm_wchar* path) {
  return error_of([&] { return (stream_ = os_open_for_writing(path)) != nullptr; });
}

int OutputFile::write(const void* bytes, std::size_t count) {
  return error_of([&] { return std::fwrite(bytes, 1, count, stream_) == count; });
}

int OutputFile::close() {
  if (stream_ == nullptr) return 0;
  // The last bytes go out first: not every runtime tells when they fail in the closing itself.
  return error_of([this] {
    const bool flushed = std::fflush(stream_) == 0;
    return std::fclose(std::exchange(stream_, nullptr)) == 0 && flushed;
  });
}

}  // namespace qmsd::platform
