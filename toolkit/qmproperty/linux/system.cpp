// The operating system's services on Linux.
#include "toolkit/qmproperty/system.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <utility>

namespace qmproperty {
namespace {

std::error_code last_error() { return {errno, std::generic_category()}; }

class Descriptor {
 public:
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (*this) ::close(number_);
  }

  explicit operator bool() const noexcept { return number_ >= 0; }
  int get() const noexcept { return number_; }
  bool close() noexcept { return ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

bool write_all(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(descriptor, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::error_code write_new_file(const char* path, mode_t mode, std::string_view content) {
  Descriptor file(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
  const bool written =
      file && write_all(file.get(), content) && ::fsync(file.get()) == 0 && file.close();
  return written ? std::error_code() : last_error();
}

bool in_c_locale() {
  const char* const name = std::setlocale(LC_CTYPE, nullptr);
  return name == nullptr || std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0;
}

}  // namespace

std::filesystem::path library_directory() {
  static const char here = 0;
  Dl_info info{};
  if (::dladdr(&here, &info) == 0 || info.dli_fname == nullptr) return {};
  return std::filesystem::absolute(info.dli_fname).parent_path();
}

std::error_code read_file(const std::filesystem::path& path, std::string& content) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return last_error();
  char part[4096];
  for (;;) {
    const ssize_t count = ::read(file.get(), part, sizeof part);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return last_error();
    if (count == 0) return {};
    content.append(part, static_cast<std::size_t>(count));
  }
}

std::error_code replace_file(const std::filesystem::path& path, std::string_view content) {
  struct stat old {};
  const mode_t mode = ::stat(path.c_str(), &old) == 0 ? old.st_mode & 07777 : 0666;
  const std::string fresh = path.string() + "." + std::to_string(::getpid()) + ".new";
  std::error_code error = write_new_file(fresh.c_str(), mode, content);
  if (!error && ::rename(fresh.c_str(), path.c_str()) != 0) error = last_error();
  if (error) {
    ::unlink(fresh.c_str());
    return error;
  }
  // Makes the new name survive a crash; the file itself is already safe.
  const Descriptor directory(::open(path.parent_path().c_str(), O_RDONLY | O_CLOEXEC));
  if (directory) ::fsync(directory.get());
  return {};
}

std::size_t decode_character(std::string_view bytes, char32_t& character) {
  if (in_c_locale()) {
    character = static_cast<unsigned char>(bytes.front());
    return 1;
  }
  wchar_t wide = 0;
  std::mbstate_t state{};
  const std::size_t taken = std::mbrtowc(&wide, bytes.data(), bytes.size(), &state);
  if (taken == 0 || taken > bytes.size()) return 0;
  character = static_cast<char32_t>(wide);
  return taken;
}

std::size_t encode_character(char32_t character, char (&bytes)[16]) {
  if (in_c_locale()) {
    bytes[0] = static_cast<char>(character);
    return character <= 0xFF ? 1 : 0;
  }
  std::mbstate_t state{};
  const std::size_t made = std::wcrtomb(bytes, static_cast<wchar_t>(character), &state);
  return made <= sizeof bytes ? made : 0;
}

}  // namespace qmproperty
