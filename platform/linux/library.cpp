#include "platform/library.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/linux/utf8.h"
#include "platform/runtime_text.h"
#include "platform/system_paths.h"

namespace qmsd::platform {
namespace {

void describe(const char* words, LoadFailure& failure) {
  constexpr std::size_t kSize = sizeof failure.text / sizeof failure.text[0];
  widen_utf8(words == nullptr ? "" : words, failure.text, kSize);
}

Library open_path(const char* path, LoadFailure& failure) {
  void* os = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (os == nullptr) describe(::dlerror(), failure);
  return {os};
}

// A file name below a directory; empty when the directory is unknown or the path too long.
class PathBelow {
 public:
  PathBelow(std::string_view directory, std::string_view name) noexcept {
    if (directory.empty() || directory.size() + 1 + name.size() >= sizeof path_) return;
    char* end = std::copy(directory.begin(), directory.end(), path_);
    *end++ = '/';
    *std::copy(name.begin(), name.end(), end) = 0;
  }
  const char* c_str() const noexcept { return path_; }
  bool exists() const noexcept { return path_[0] != 0 && ::access(path_, F_OK) == 0; }

 private:
  char path_[PATH_MAX] = "";
};

PathBelow beside_executable(const char* name) {
  char executable[PATH_MAX];
  const std::string_view path(executable, os_executable_name(executable, sizeof executable));
  return {path.substr(0, std::min(path.rfind('/'), path.size())), name};
}

// Spelled in full, so that the library's path outlives a change of directory.
PathBelow in_current_directory(const char* name) {
  char directory[PATH_MAX];
  return {::getcwd(directory, sizeof directory) == nullptr ? "." : directory, name};
}

Library open_bare_name(const char* name, LoadFailure& failure) {
  if (const PathBelow path = beside_executable(name); path.exists()) {
    return open_path(path.c_str(), failure);
  }
  if (const PathBelow path = in_current_directory(name); path.exists()) {
    return open_path(path.c_str(), failure);
  }
  return open_path(name, failure);
}

const link_map* map_of(Library library) {
  link_map* map = nullptr;
  return ::dlinfo(library.os, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

}  // namespace

const qm_wchar* const kLibraryExtension = QM_W(".so");

Library open_library(const qm_wchar* file, LoadFailure& failure) {
  char path[PATH_MAX];
  // An empty name would mean the program itself.
  const bool usable = narrow_utf8(file, path, sizeof path) && path[0] != 0;
  if (!usable) {
    char words[128];
    runtime_error_text(path[0] == 0 ? ENOENT : ENAMETOOLONG, words, sizeof words);
    describe(words, failure);
    return {};
  }
  const bool bare = std::strchr(path, '/') == nullptr;
  return bare ? open_bare_name(path, failure) : open_path(path, failure);
}

void* find_symbol(Library library, const char* name) noexcept {
  void* symbol = ::dlsym(library.os, name);
  if (symbol == nullptr) return nullptr;
  // The search goes on in what the library depends on, which may well be this kernel.
  Dl_info info{};
  void* owner = nullptr;
  if (::dladdr1(symbol, &info, &owner, RTLD_DL_LINKMAP) == 0) return nullptr;
  return owner == map_of(library) ? symbol : nullptr;
}

void close_library(Library library) noexcept {
  if (library) ::dlclose(library.os);
}

void library_path(Library library, qm_wchar* buffer, std::size_t length) {
  buffer[0] = 0;
  const link_map* map = map_of(library);
  char full[PATH_MAX];
  if (map == nullptr || ::realpath(map->l_name, full) == nullptr) return;
  widen_utf8(map->l_name[0] == '/' ? map->l_name : full, buffer, length);
}

}  // namespace qmsd::platform
