#include "modules/library_search.h"

#include "kernel/base/lock_order.h"
#include "kernel/errors/error_state.h"
#include "platform/directory.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

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

OwnedLibrary load_from_qm_folder(const qm_wchar* name, platform::LoadFailure& failure) {
  qm_wchar directory[kModuleTextLength];
  platform::system_directory(directory, kModuleTextLength);
  qm_wchar file[kModuleTextLength];
  format_wide(file, kModuleTextLength, QM_W("%ls%cqm%c%ls%ls"), directory, platform::kPathSeparator,
              platform::kPathSeparator, name, platform::kLibraryExtension);
  return OwnedLibrary(platform::open_library(file, failure));
}

}  // namespace

OwnedLibrary load_module_library(const qm_wchar* name, qm_wchar (&path)[kModuleTextLength]) {
  assert_no_lock_held("a library is loaded");
  platform::LoadFailure failure;
  OwnedLibrary library = load_by_system_rules(name, failure);
  if (!library) library = load_from_qm_folder(name, failure);
  if (!library) {
    strip_trailing_blanks(failure.text);
    fail(QM_ERROR_LOAD, QM_W("('%ls'->'%ls')"), name, failure.text);
    return {};
  }
  platform::library_path(library.get(), path, kModuleTextLength);
  return library;
}

}  // namespace qmsd
