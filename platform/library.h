// Loads code and finds names in it. Mechanism only: no search policy beyond the system's, no cache.
// Loading and unloading run foreign code and take the loader's lock: no kernel lock may be held.
// Any thread may call anything here.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// The file name extension of libraries, dot included: ".dll" or ".so".
extern const qm_wchar* const kLibraryExtension;

// One load of a library; whoever opened it closes it, once.
struct Library {
  void* os = nullptr;
  explicit operator bool() const noexcept { return os != nullptr; }
};

// The system's words for a failed load; trailing line ends and blanks as the system gave them.
struct LoadFailure {
  qm_wchar text[512];
};

// Loads `file` ("name.dll", or a path) by the system's search order. Natively a bare name is looked
// for beside the executable, in the current directory, then where the dynamic loader looks; the
// first file of that name counts, fit or not.
// On failure the result is empty and `failure` is filled, cut and terminated, perhaps empty.
Library open_library(const qm_wchar* file, LoadFailure& failure);
// Null when the library itself exports no such name; what it depends on is not searched.
void* find_symbol(Library library, const char* name) noexcept;
// An empty library is allowed.
void close_library(Library library) noexcept;

// Full path of a loaded library, cut and terminated; empty when it cannot be had.
void library_path(Library library, qm_wchar* buffer, std::size_t length);

// The directory whose `qm` folder holds the modules that belong to the kernel, without a trailing
// separator. Empty when it does not fit.
void system_directory(qm_wchar* buffer, std::size_t length);
// The same directory as the module listing sees it; false when the listing has to end without it.
// On Windows it follows the variable SystemRoot of the live environment.
bool listed_system_directory(qm_wchar* buffer, std::size_t length);

// The host executable's full file name in narrow text, cut; returns its length, 0 on failure.
// `size` is above 0; the buffer is terminated in either case.
std::size_t executable_name(char* buffer, std::size_t size) noexcept;

}  // namespace qmsd::platform
