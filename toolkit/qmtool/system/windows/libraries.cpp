#include "toolkit/qmtool/system/libraries.h"

#include <windows.h>

#include <algorithm>

#include <qm/text.hpp>

#include "toolkit/qmtool/system/process.h"
#include "toolkit/qmtool/system/program.h"
#include "toolkit/qmtool/system/windows/error_text.h"
#include "toolkit/qmtool/system/windows/module_path.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

template <class Function>
std::filesystem::path directory_from(Function* system_function) {
  wchar_t path[MAX_PATH];
  const UINT length = system_function(path, MAX_PATH);
  return std::wstring(path, length < MAX_PATH ? length : 0);
}

std::wstring variable(const wchar_t* name) {
  std::wstring value(::GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

void append_path_variable(std::vector<Folder>& folders) {
  const std::wstring list = variable(L"PATH");
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t end = std::min(list.find(L';', at), list.size());
    if (end > at) folders.push_back({list.substr(at, end - at), "PATH", false});
    at = end + 1;
  }
}

}  // namespace

const ImageFormat kOwnFormat = ImageFormat::pe;
const std::string_view kLibraryExtension = ".dll";
const std::string_view kPlaceForImports = "beside the program";
const std::string_view kCureForBeside = "put it beside the program, or its folder into PATH";
const char* const kKernelLibrary = "QMSD7.dll";

std::vector<Folder> library_folders() {
  const auto system = directory_from(&::GetSystemDirectoryW);
  const auto windows = directory_from(&::GetWindowsDirectoryW);
  std::vector<Folder> folders = {{program_file().parent_path(), "the program's folder", false},
                                 {system, "the system directory", true},
                                 {windows / "system", "the 16-bit system directory", true},
                                 {windows, "the Windows directory", true},
                                 {std::filesystem::current_path(), "the current folder", false}};
  append_path_variable(folders);
  return folders;
}

std::vector<Folder> unlisted_folders() {
  return {{program_file().parent_path(), "the program's folder", false}};
}

Folder family_folder() {
  return {directory_from(&::GetSystemDirectoryW) / "qm", "the family's folder", false};
}

// A library's own folder is not searched when it is loaded by a bare name.
std::vector<Folder> import_folders(const std::filesystem::path&, const Image&) {
  return library_folders();
}

std::filesystem::path loaded_file(std::string_view library) {
  const HMODULE module = ::GetModuleHandleW(path_of(library).c_str());
  return module != nullptr ? module_path(module) : std::filesystem::path();
}

// Names of sets of functions, which the loader turns into names of libraries.
bool needs_no_file(std::string_view library) {
  const std::string name = lower_case(library);
  return name.starts_with("api-ms-win-") || name.starts_with("ext-ms-");
}

bool is_symbol_at_hand(std::string_view) { return false; }

LoadedLibrary::LoadedLibrary(const std::filesystem::path& file, std::string& problem) {
  forget_crash();
  os_ = ::LoadLibraryW(file.c_str());
  if (os_ != nullptr) return;
  problem = error_text(::GetLastError());
  end_if_crashed();
}

LoadedLibrary& LoadedLibrary::operator=(LoadedLibrary&& from) noexcept {
  std::swap(os_, from.os_);
  return *this;
}

LoadedLibrary::~LoadedLibrary() {
  if (os_ == nullptr) return;
  forget_crash();
  ::FreeLibrary(static_cast<HMODULE>(os_));
  end_if_crashed();
}

void* LoadedLibrary::find(const char* name) const {
  return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(os_), name));
}

std::filesystem::path file_of_address(const void* address) {
  HMODULE module = nullptr;
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!::GetModuleHandleExW(kFlags, static_cast<LPCWSTR>(address), &module)) return {};
  return module_path(module);
}

}  // namespace qmtool
