// Turns a module name into a loaded and checked library, through an alias if need be.
#pragma once

#include "include/qmsd7.h"
#include "modules/library_search.h"
#include "services/text/text.h"

namespace qmsd {

// What opening found out. The information records belong to the library.
struct OpenedModule {
  OwnedLibrary library;
  qm_wchar path[kModuleTextLength] = {};
  const qm_module_info* info = nullptr;        // the basic record, exported or asked for
  const qm_extended_info* extended = nullptr;  // the exported record, if it is of the extended kind
  OwnedText resolved;                          // the name behind the alias, null without one
  OwnedText group;                             // what came with the alias, perhaps empty
};

// Loads the library `name`; without one that is fit, asks the property store for an alias, under
// `group` if that is neither null nor empty. On failure nothing stays loaded and the error is
// recorded, except that a module which refuses to tell about itself leaves its own or none.
// Modules run: no lock may be held.
bool open_module_library(const qm_wchar* name, const qm_wchar* group, OpenedModule& opened);

// Puts the alias into the record of an open call. Its texts are kernel heap copies that belong to
// the open path, and so are their replacements. Does nothing without an alias.
bool apply_alias(const OpenedModule& opened, qm_open_module_w& record);

}  // namespace qmsd
