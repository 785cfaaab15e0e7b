// How this system finds and loads libraries.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "toolkit/qmtool/image/image.h"

namespace qmtool {

// What this system, and so this program, can load.
extern const ImageFormat kOwnFormat;
inline constexpr int kOwnBits = static_cast<int>(sizeof(void*)) * 8;
extern const std::string_view kLibraryExtension;  // ".dll" or ".so"

struct Folder {
  std::filesystem::path path;
  std::string what;         // "the program's folder", ...
  bool is_systems = false;  // holds the system's own libraries, which are taken as sound
};

// The kernel library that belongs to this program, by its bare name.
extern const char* const kKernelLibrary;

// Where a library asked for by its bare name is looked for, first folder first.
std::vector<Folder> library_folders();
// Those of them that hold for modules although the kernel does not list them.
std::vector<Folder> unlisted_folders();
// The folder of the kernel family's own modules, tried last.
Folder family_folder();

// Where what a library imports is looked for, first folder first.
std::vector<Folder> import_folders(const std::filesystem::path& library, const Image& image);
// What to do with an import that is missing, and with one that lies beside the module in vain.
extern const std::string_view kPlaceForImports;
extern const std::string_view kCureForBeside;

// The file of a library of this name that is part of this process already; empty when none is.
std::filesystem::path loaded_file(std::string_view library);
// Is this one of the names that the system serves without a file?
bool needs_no_file(std::string_view library);
// Can code loaded by this process use this name, wherever it comes from?
bool is_symbol_at_hand(std::string_view name);

// One load of a library; unloaded with this object.
class LoadedLibrary {
 public:
  LoadedLibrary() = default;
  // Check with `bool`; `problem` becomes the system's words when it could not be loaded.
  LoadedLibrary(const std::filesystem::path& file, std::string& problem);
  LoadedLibrary(LoadedLibrary&& from) noexcept : os_(std::exchange(from.os_, nullptr)) {}
  LoadedLibrary& operator=(LoadedLibrary&& from) noexcept;
  ~LoadedLibrary();

  explicit operator bool() const noexcept { return os_ != nullptr; }
  void* find(const char* name) const;
  // Leaves the library loaded for good.
  void keep() noexcept { os_ = nullptr; }

 private:
  void* os_ = nullptr;
};

// The file that the code or data at this address was loaded from; empty when it is none's.
std::filesystem::path file_of_address(const void* address);

}  // namespace qmtool
