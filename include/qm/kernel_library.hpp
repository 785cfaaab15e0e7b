// The kernel library itself, loaded by its path or linked. The one place of the client that knows
// the operating system.
#pragma once

#include <qmsd7.h>

#include <filesystem>
#include <string>

#include <qm/owner.hpp>

#ifdef _WIN32
#include <cstdint>
#include <system_error>
struct HINSTANCE__;
#else
#include <dlfcn.h>
#endif

namespace qm {

namespace detail {

#ifdef _WIN32

// As in windows.h, which defines too many names to be included here.
using Procedure = std::intptr_t(__stdcall*)();
extern "C" {
__declspec(dllimport) HINSTANCE__* __stdcall LoadLibraryW(const wchar_t* file);
__declspec(dllimport) Procedure __stdcall GetProcAddress(HINSTANCE__* library, const char* name);
__declspec(dllimport) int __stdcall FreeLibrary(HINSTANCE__* library);
__declspec(dllimport) unsigned long __stdcall GetLastError();
}

using LibraryHandle = HINSTANCE__*;

inline LibraryHandle load_library(const std::filesystem::path& file) {
  return LoadLibraryW(file.c_str());
}
inline qm_call_fn find_entry(LibraryHandle library) {
  return reinterpret_cast<qm_call_fn>(reinterpret_cast<void*>(GetProcAddress(library, "qm_call")));
}
inline void unload_library(LibraryHandle library) { FreeLibrary(library); }
inline std::string why_not_loaded() {
  return std::system_category().message(static_cast<int>(GetLastError()));
}

#else

using LibraryHandle = void*;

inline LibraryHandle load_library(const std::filesystem::path& file) {
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}
inline qm_call_fn find_entry(LibraryHandle library) {
  return reinterpret_cast<qm_call_fn>(dlsym(library, "qm_call"));
}
inline void unload_library(LibraryHandle library) { dlclose(library); }
inline std::string why_not_loaded() {
  const char* reason = dlerror();
  return reason ? reason : "";
}

#endif

struct LibraryPolicy {
  using Raw = LibraryHandle;
  static constexpr Raw none = nullptr;
  static constexpr std::string_view name = "KernelLibrary";
  static void give_back(Kernel, Raw library) noexcept { unload_library(library); }
};

}  // namespace detail

/// The kernel library, loaded by its path and unloaded when the owner ends, or the linked one. It
/// converts to the Kernel that everything else takes.
/// Owner: of one load of the library. It must outlive all that came from its kernel; declared first
/// it does. Errors: those of the functions below. Threads: load and end it where nobody is inside
/// the kernel, never in a library's own load or unload routine.
///
///     qm::KernelLibrary library = qm::KernelLibrary::linked();
///     qm::Variant speed = qm::Variant::create(library, 120);
class KernelLibrary : public Owner<detail::LibraryPolicy> {
 public:
  KernelLibrary() = default;

  /// Loads the library from a file, or by the system's rules if it is a name without a folder.
  /// Owner: the result. Errors: 0x1000 with the system's words if the file cannot be loaded, 2 if
  /// it exports no `qm_call`. Threads: see above.
  ///
  ///     const auto none = qm::KernelLibrary::try_load("no/such/file");
  ///     check(none.error().code() == QM_ERROR_LOAD);
  static KernelLibrary load(const std::filesystem::path& file) { return try_load(file).value(); }
  static Result<KernelLibrary> try_load(const std::filesystem::path& file) {
    KernelLibrary library(Kernel(), detail::load_library(file));
    if (!library.get()) {
      return Error(QM_ERROR_LOAD, quoted(file) + ": " + detail::why_not_loaded());
    }
    const qm_call_fn entry = detail::find_entry(library.get());
    if (!entry) return Error(QM_ERROR_NOT_FOUND, quoted(file) + " exports no qm_call");
    return KernelLibrary(Kernel(entry), library.release());
  }

  /// The library that the program is linked with; there is nothing to unload then.
  /// Owner: the system, of the library. Errors: none. Threads: any.
  ///
  ///     check(qm::KernelLibrary::linked().kernel() == qm::Kernel::linked());
  static KernelLibrary linked() noexcept { return KernelLibrary(Kernel::linked(), nullptr); }

  /// The kernel in this library, if there is one.
  /// Owner: this KernelLibrary. Errors: none; without a library it is a Kernel of nothing. Threads:
  /// as Kernel.
  ///
  ///     const auto library = qm::KernelLibrary::linked();
  ///     const qm::Kernel inside = library;
  ///     check(library && inside.call(QM_CALL_NOP) == 1);
  operator Kernel() const noexcept { return kernel(); }
  explicit operator bool() const noexcept { return static_cast<bool>(kernel()); }

 private:
  using Owner::Owner;

  static std::string quoted(const std::filesystem::path& file) {
    const std::u8string name = file.u8string();
    return "'" + std::string(name.begin(), name.end()) + "'";
  }
};

}  // namespace qm
