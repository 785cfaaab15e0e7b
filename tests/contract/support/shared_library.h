// A library loaded by its path, as a host would do it.
#pragma once

#include <filesystem>
#include <utility>

namespace contract {

class SharedLibrary {
 public:
  SharedLibrary() = default;
  // Aborts the test run with the system's words when the file cannot be loaded.
  explicit SharedLibrary(const std::filesystem::path& file);
  SharedLibrary(SharedLibrary&& from) noexcept : os_(std::exchange(from.os_, nullptr)) {}
  SharedLibrary& operator=(SharedLibrary&& from) noexcept;
  ~SharedLibrary() { unload(); }

  void unload();
  void* os() const { return os_; }
  void* find(const char* name) const { return find_in(os_, name); }

  // Looks a name up in a library that somebody else holds loaded.
  static void* find_in(void* os, const char* name);
  // Is a library of this file name part of the process now?
  static bool is_loaded(const std::filesystem::path& file);

 private:
  void* os_ = nullptr;
};

// ".dll" or ".so".
extern const char* const kLibraryExtension;

// Folder of the running test program.
std::filesystem::path program_file();
// The kernel library under test, and the folder of the test modules.
std::filesystem::path kernel_file();
std::filesystem::path module_folder();

}  // namespace contract
