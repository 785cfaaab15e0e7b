#include "platform/library.h"

#include <windows.h>

namespace qmsd::platform {
namespace {

void describe(DWORD code, LoadFailure& failure) {
  constexpr DWORD kSize = sizeof failure.text / sizeof failure.text[0];
  // Some messages contain inserts. There are none to supply here, and without the second flag the
  // call would fail for such a message.
  const DWORD length =
      ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                       MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), failure.text, kSize, nullptr);
  if (length == 0) failure.text[0] = 0;
}

HMODULE module_of(Library library) { return static_cast<HMODULE>(library.os); }

}  // namespace

const qm_wchar* const kLibraryExtension = QM_W(".dll");

Library open_library(const qm_wchar* file, LoadFailure& failure) {
  const HMODULE module = ::LoadLibraryW(file);
  if (module == nullptr) describe(::GetLastError(), failure);
  return {module};
}

void* find_symbol(Library library, const char* name) noexcept {
  return reinterpret_cast<void*>(::GetProcAddress(module_of(library), name));
}

void close_library(Library library) noexcept {
  if (library) ::FreeLibrary(module_of(library));
}

void library_path(Library library, qm_wchar* buffer, std::size_t length) {
  const DWORD written =
      ::GetModuleFileNameW(module_of(library), buffer, static_cast<DWORD>(length));
  if (written == 0) buffer[0] = 0;
  buffer[length - 1] = 0;  // not every system terminates a cut name
}

}  // namespace qmsd::platform
