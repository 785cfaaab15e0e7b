#include "toolkit/qmtool/system/libraries.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstddef>

#include "toolkit/qmtool/system/files.h"
#include "toolkit/qmtool/system/linux/loader_cache.h"
#include "toolkit/qmtool/system/program.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

std::string words_of_loader() {
  const char* const words = ::dlerror();
  return words != nullptr ? words : "";
}

std::string what_is(unsigned flags) {
  if ((flags & LA_SER_LIBPATH) != 0) return "LD_LIBRARY_PATH";
  if ((flags & LA_SER_RUNPATH) != 0) return "the program's run path";
  return "a folder of the system's libraries";
}

std::vector<Folder> folders_of_loader() {
  std::vector<Folder> folders;
  void* const program = ::dlopen(nullptr, RTLD_LAZY);
  Dl_serinfo size{};
  if (::dlinfo(program, RTLD_DI_SERINFOSIZE, &size) != 0) return {};
  std::vector<std::max_align_t> room(size.dls_size / sizeof(std::max_align_t) + 1);
  auto* const list = reinterpret_cast<Dl_serinfo*>(room.data());
  *list = size;
  if (::dlinfo(program, RTLD_DI_SERINFO, list) != 0) return {};
  for (unsigned i = 0; i < list->dls_cnt; ++i) {
    const Dl_serpath& entry = list->dls_serpath[i];
    folders.push_back({std::filesystem::path(entry.dls_name).lexically_normal(),
                       what_is(entry.dls_flags),
                       (entry.dls_flags & (LA_SER_LIBPATH | LA_SER_RUNPATH)) == 0});
  }
  return folders;
}

bool contains(const std::vector<Folder>& folders, const std::filesystem::path& path) {
  return std::ranges::find(folders, path, &Folder::path) != folders.end();
}

void replace_all(std::string& text, std::string_view what, std::string_view by) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

// What a library adds for what it imports itself.
std::vector<Folder> folders_of_library(const std::filesystem::path& library, const Image& image) {
  const std::string origin = utf8(std::filesystem::absolute(library).parent_path());
  std::vector<Folder> folders;
  for (const std::string_view list : image.run_path) {
    for (std::size_t at = 0; at <= list.size();) {
      const std::size_t end = std::min(list.find(':', at), list.size());
      std::string folder(list.substr(at, end - at));
      replace_all(folder, "${ORIGIN}", origin);
      replace_all(folder, "$ORIGIN", origin);
      if (!folder.empty()) folders.push_back({folder, "the library's own run path", false});
      at = end + 1;
    }
  }
  return folders;
}

// The kernel's own run path holds for what it loads.
std::vector<Folder> folders_of_kernel(const std::vector<Folder>& where_it_is_looked_for) {
  std::vector<Folder> folders;
  for (const Folder& place : where_it_is_looked_for) {
    const auto kernel = place.path / kKernelLibrary;
    if (!std::filesystem::exists(kernel)) continue;
    const MappedFile file(kernel);
    folders = folders_of_library(kernel, read_image(file.bytes()).image);
    for (Folder& folder : folders) folder.what = "the kernel's run path";
    break;
  }
  return folders;
}

void append(std::vector<Folder>& folders, const std::vector<Folder>& more) {
  for (const Folder& folder : more) {
    if (!contains(folders, folder.path)) folders.push_back(folder);
  }
}

void append_listed(std::vector<Folder>& folders) {
  for (const auto& path : folders_of_loader_cache()) {
    if (!contains(folders, path)) folders.push_back({path, "a folder of the system's list", true});
  }
}

}  // namespace

const ImageFormat kOwnFormat = ImageFormat::elf;
const std::string_view kLibraryExtension = ".so";
const std::string_view kPlaceForImports = "into a folder of LD_LIBRARY_PATH";
const std::string_view kCureForBeside =
    "link the module with -Wl,-rpath,'$ORIGIN', or put its folder into LD_LIBRARY_PATH";
const char* const kKernelLibrary = "libqmsd7.so.7";

std::vector<Folder> library_folders() {
  std::vector<Folder> folders = {{program_file().parent_path(), "the program's folder", false},
                                 {std::filesystem::current_path(), "the current folder", false}};
  const std::vector<Folder> of_loader = folders_of_loader();
  append(folders, folders_of_kernel(of_loader));
  append(folders, of_loader);
  append_listed(folders);
  return folders;
}

std::vector<Folder> unlisted_folders() {
  std::vector<Folder> folders = {{program_file().parent_path(), "the program's folder", false}};
  append(folders, folders_of_kernel(folders_of_loader()));
  return folders;
}

Folder family_folder() {
  return {std::filesystem::path(QMSD_SYSTEM_DIRECTORY) / "qm", "the family's folder", false};
}

// Neither the program's folder nor the current one: these hold for modules alone.
std::vector<Folder> import_folders(const std::filesystem::path& library, const Image& image) {
  std::vector<Folder> folders = folders_of_library(library, image);
  std::vector<Folder> of_loader = folders_of_loader();
  if (!image.run_path.empty()) {  // it stands in place of the program's
    const MappedFile program(program_file());
    for (const Folder& folder :
         folders_of_library(program_file(), read_image(program.bytes()).image)) {
      std::erase_if(of_loader, [path = folder.path.lexically_normal()](const Folder& other) {
        return other.path == path;
      });
    }
  }
  append(folders, of_loader);
  append_listed(folders);
  return folders;
}

std::filesystem::path loaded_file(std::string_view library) {
  void* const os = ::dlopen(std::string(library).c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (os == nullptr) return {};
  const link_map* map = nullptr;
  const bool known = ::dlinfo(os, RTLD_DI_LINKMAP, &map) == 0 && map->l_name[0] != 0;
  const std::filesystem::path file = known ? map->l_name : std::string(library);
  ::dlclose(os);
  return file;
}

bool needs_no_file(std::string_view) { return false; }

bool is_symbol_at_hand(std::string_view name) {
  return ::dlsym(RTLD_DEFAULT, std::string(name).c_str()) != nullptr;
}

LoadedLibrary::LoadedLibrary(const std::filesystem::path& file, std::string& problem)
    : os_(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (os_ == nullptr) problem = words_of_loader();
}

LoadedLibrary& LoadedLibrary::operator=(LoadedLibrary&& from) noexcept {
  std::swap(os_, from.os_);
  return *this;
}

LoadedLibrary::~LoadedLibrary() {
  if (os_ != nullptr) ::dlclose(os_);
}

// What the library depends on is searched, too; that is not its export.
void* LoadedLibrary::find(const char* name) const {
  void* const symbol = ::dlsym(os_, name);
  Dl_info info{};
  void* owner = nullptr;
  link_map* own = nullptr;
  if (symbol == nullptr || ::dladdr1(symbol, &info, &owner, RTLD_DL_LINKMAP) == 0) return nullptr;
  return ::dlinfo(os_, RTLD_DI_LINKMAP, &own) == 0 && owner == own ? symbol : nullptr;
}

std::filesystem::path file_of_address(const void* address) {
  Dl_info info{};
  return ::dladdr(address, &info) != 0 ? info.dli_fname : "";
}

}  // namespace qmtool
