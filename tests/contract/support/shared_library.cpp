#include "tests/contract/support/shared_library.h"

#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace contract {
namespace {

[[noreturn]] void give_up(const std::filesystem::path& file, const char* reason) {
  std::fprintf(stderr, "cannot load %s: %s\n", file.string().c_str(), reason);
  std::abort();
}

}  // namespace

#ifdef _WIN32

const char* const kLibraryExtension = ".dll";

SharedLibrary::SharedLibrary(const std::filesystem::path& file)
    : os_(::LoadLibraryW(file.c_str())) {
  if (os_ == nullptr) give_up(file, std::to_string(::GetLastError()).c_str());
}

void SharedLibrary::unload() {
  if (void* os = std::exchange(os_, nullptr)) ::FreeLibrary(static_cast<HMODULE>(os));
}

void* SharedLibrary::find_in(void* os, const char* name) {
  return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(os), name));
}

bool SharedLibrary::is_loaded(const std::filesystem::path& file) {
  return ::GetModuleHandleW(file.c_str()) != nullptr;
}

std::filesystem::path program_file() {
  wchar_t name[1024];
  ::GetModuleFileNameW(nullptr, name, 1024);
  return name;
}

#else

const char* const kLibraryExtension = ".so";

SharedLibrary::SharedLibrary(const std::filesystem::path& file)
    : os_(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (os_ == nullptr) give_up(file, ::dlerror());
}

void SharedLibrary::unload() {
  if (void* os = std::exchange(os_, nullptr)) ::dlclose(os);
}

void* SharedLibrary::find_in(void* os, const char* name) { return ::dlsym(os, name); }

bool SharedLibrary::is_loaded(const std::filesystem::path& file) {
  void* os = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (os == nullptr) return false;
  ::dlclose(os);
  return true;
}

std::filesystem::path program_file() { return std::filesystem::read_symlink("/proc/self/exe"); }

#endif

SharedLibrary& SharedLibrary::operator=(SharedLibrary&& from) noexcept {
  if (this != &from) {
    unload();
    os_ = std::exchange(from.os_, nullptr);
  }
  return *this;
}

std::filesystem::path kernel_file() {
  return program_file().parent_path() / std::filesystem::path(QMSD_KERNEL_FILE);
}

std::filesystem::path module_folder() {
  return program_file().parent_path() / std::filesystem::path(QMSD_MODULE_FOLDER);
}

}  // namespace contract
