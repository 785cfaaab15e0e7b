#include "toolkit/qmtool/system/files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace qmtool {
namespace {

std::string words_of(int code) { return std::generic_category().message(code); }

}  // namespace

MappedFile::MappedFile(const std::filesystem::path& path) {
  // A pipe of that name must not keep us waiting for its other end.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    problem_ = words_of(errno);
    return;
  }
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    problem_ = "it is no file";
  } else if (status.st_size > 0) {
    const auto size = static_cast<std::size_t>(status.st_size);
    void* const start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (start == MAP_FAILED) {
      problem_ = words_of(errno);
    } else {
      bytes_ = {static_cast<const char*>(start), size};
    }
  }
  ::close(descriptor);
}

MappedFile::~MappedFile() {
  if (!bytes_.empty()) ::munmap(const_cast<char*>(bytes_.data()), bytes_.size());
}

}  // namespace qmtool
