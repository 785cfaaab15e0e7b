// Turns a module name into a loaded library.
#pragma once

#include <cstddef>
#include <utility>

#include "include/qmsd7.h"
#include "platform/library.h"

namespace qmsd {

// Length of path and name texts of the module subsystem, terminator included.
inline constexpr std::size_t kModuleTextLength = 512;

// Owns one load of a library.
class OwnedLibrary {
 public:
  OwnedLibrary() noexcept = default;
  explicit OwnedLibrary(platform::Library library) noexcept : library_(library) {}
  OwnedLibrary(OwnedLibrary&& from) noexcept : library_(from.release()) {}
  OwnedLibrary& operator=(OwnedLibrary&& from) noexcept {
    if (this != &from) reset(from.release());
    return *this;
  }
  ~OwnedLibrary() { reset(); }

  platform::Library get() const noexcept { return library_; }
  explicit operator bool() const noexcept { return static_cast<bool>(library_); }
  [[nodiscard]] platform::Library release() noexcept { return std::exchange(library_, {}); }
  // Unloads what it held. Foreign code may run: no lock may be held.
  void reset(platform::Library next = {}) noexcept;

 private:
  platform::Library library_;
};

// Raised around every unload, and for good by QM_CALL_CLOSE. Nothing depends on it; it tells
// whoever looks into a process that clean-up is going on.
void raise_closing_counter() noexcept;
void lower_closing_counter() noexcept;

// Looks for the library by the system's rules, then in the system directory's `qm` folder, and
// fills in its full path. On failure records error 0x1000 with the name and the system's words for
// the second attempt, and returns empty. Foreign code runs: no lock may be held.
OwnedLibrary load_module_library(const qm_wchar* name, qm_wchar (&path)[kModuleTextLength]);

}  // namespace qmsd
