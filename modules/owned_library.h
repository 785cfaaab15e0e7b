// The owner of a loaded library.
#pragma once

#include <utility>

#include "platform/library.h"

namespace qmsd {

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

// A count that is above 0 while a library is being unloaded, and for good after QM_CALL_CLOSE. The
// kernel never reads it: it shows in a debugger whether clean-up is going on.
void raise_closing_counter() noexcept;
void lower_closing_counter() noexcept;

}  // namespace qmsd
