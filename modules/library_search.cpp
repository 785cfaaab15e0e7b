#include "modules/library_search.h"

#include <atomic>
#include <cstdint>

#include "kernel/base/lock_order.h"
#include "kernel/errors/error_state.h"
#include "platform/directory.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

// Unsigned: it may wrap, and nothing reads meaning into its value but 0.
std::atomic<std::uint32_t> g_closing{0};

void strip_trailing_blanks(qm_wchar* text) {
  std::size_t length = WideView(text).size();
  while (length > 0 && text[length - 1] <= QM_W(' ')) --length;
  text[length] = 0;
}

OwnedLibrary load_by_system_rules(const qm_wchar* name, platform::LoadFailure& failure) {
  qm_wchar file[kModuleTextLength];
  format_wide(file, kModuleTextLength, QM_W("%ls%ls"), name, platform::kLibraryExtension);
  return OwnedLibrary(platform::open_library(file, failure));
}

OwnedLibrary load_from_family_folder(const qm_wchar* name, platform::LoadFailure& failure) {
  qm_wchar directory[kModuleTextLength];
  platform::system_directory(directory, kModuleTextLength);
  qm_wchar file[kModuleTextLength];
  format_wide(file, kModuleTextLength, QM_W("%ls%cqm%c%ls%ls"), directory, platform::kPathSeparator,
              platform::kPathSeparator, name, platform::kLibraryExtension);
  return OwnedLibrary(platform::open_library(file, failure));
}

}  // namespace

void OwnedLibrary::reset(platform::Library next) noexcept {
  const platform::Library old = std::exchange(library_, next);
  if (!old) return;
  assert_no_lock_held("a library is unloaded");
  raise_closing_counter();
  platform::close_library(old);
  lower_closing_counter();
}

void raise_closing_counter() noexcept { ++g_closing; }
void lower_closing_counter() noexcept { --g_closing; }

OwnedLibrary load_module_library(const qm_wchar* name, qm_wchar (&path)[kModuleTextLength]) {
  assert_no_lock_held("a library is loaded");
  platform::LoadFailure failure;
  OwnedLibrary library = load_by_system_rules(name, failure);
  if (!library) library = load_from_family_folder(name, failure);
  if (!library) {
    strip_trailing_blanks(failure.text);
    fail(QM_ERROR_LOAD, QM_W("('%ls'->'%ls')"), name, failure.text);
    return {};
  }
  platform::library_path(library.get(), path, kModuleTextLength);
  return library;
}

}  // namespace qmsd
