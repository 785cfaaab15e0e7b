// The file of a loaded library, or of the program itself.
#pragma once

#include <windows.h>

#include <filesystem>

namespace qmtool {

// Null is the program.
inline std::filesystem::path module_path(HMODULE module) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const auto room = static_cast<DWORD>(path.size());
    const DWORD length = ::GetModuleFileNameW(module, path.data(), room);
    if (length < room) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

}  // namespace qmtool
