#include "tests/contract/support/system_folder.h"

#include <fstream>

#include "tests/contract/support/shared_library.h"
#include "tests/contract/support/surroundings.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace contract {

SystemFolder::SystemFolder() { std::filesystem::create_directories(path()); }

SystemFolder::~SystemFolder() {
  std::error_code ignored;
  for (const auto& file : files_) std::filesystem::remove(file, ignored);
}

std::string SystemFolder::new_name(const std::string& purpose) {
  const std::string name = "tmsys_" + std::to_string(process_id()) + "_" + purpose;
  files_.push_back(path() / (name + kLibraryExtension));
  return name;
}

std::string SystemFolder::install(const std::string& module, const std::string& purpose) {
  const std::string name = new_name(purpose);
  std::filesystem::copy_file(module_folder() / (module + kLibraryExtension), files_.back());
  return name;
}

std::string SystemFolder::unfit_file(const std::string& purpose) {
  const std::string name = new_name(purpose);
  std::ofstream(files_.back()) << "this is no library\n";
  return name;
}

#ifdef _WIN32

std::filesystem::path SystemFolder::path() {
  wchar_t directory[MAX_PATH];
  ::GetSystemDirectoryW(directory, MAX_PATH);
  return std::filesystem::path(directory) / "qm";
}

bool SystemFolder::may_be_written() { return true; }

std::string load_failure_of(const std::filesystem::path& file) {
  if (const HMODULE library = ::LoadLibraryW(file.c_str())) {
    ::FreeLibrary(library);
    return "loaded";
  }
  char words[512] = "";
  ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                   ::GetLastError(), 0, words, sizeof words, nullptr);
  std::string text = words;
  while (!text.empty() && static_cast<unsigned char>(text.back()) <= 0x20) text.pop_back();
  return text;
}

#else

std::filesystem::path SystemFolder::path() {
  return std::filesystem::path(QMSD_SYSTEM_DIRECTORY) / "qm";
}

bool SystemFolder::may_be_written() { return path().string().rfind("/usr/", 0) != 0; }

std::string load_failure_of(const std::filesystem::path& file) {
  if (void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    ::dlclose(library);
    return "loaded";
  }
  return ::dlerror();
}

#endif

}  // namespace contract
