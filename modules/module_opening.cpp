// Loading, aliases, and the check of what a library exports.
#include "modules/module_opening.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "kernel/base/lock_order.h"
#include "kernel/errors/error_state.h"
#include "modules/property_client.h"
#include "platform/heap.h"
#include "platform/library.h"
#include "services/text/strings.h"

namespace qmsd {
namespace {

constexpr std::size_t kPropertyPathLength = 1024;

constexpr const char* kInfoExport = "qmmoduleinfo";
constexpr const char* kCallExport = "qm_call";

// The modules that make up the property store: looking them up in it would go round in circles.
constexpr WideView kStoreModules[] = {QM_W("qmproperty"), QM_W("qmpropclient"), QM_W("qmpropfile")};

bool serves_properties(WideView name) {
  for (const WideView part : kStoreModules) {
    if (name.find(part) != WideView::npos) return true;
  }
  return false;
}

struct Alias {
  WideView name;
  WideView group;
};

// "name : group"; the last colon counts.
Alias split_alias(WideView value) {
  const std::size_t colon = value.rfind(QM_W(':'));
  if (colon == WideView::npos) return {value, {}};
  WideView name = value.substr(0, colon);
  WideView group = value.substr(colon + 1);
  name = name.substr(0, name.find_last_not_of(QM_W(' ')) + 1);
  group.remove_prefix(std::min(group.find_first_not_of(QM_W(' ')), group.size()));
  return {name, group};
}

// Without an alias the error of the failed loading stays, whatever the store recorded on the way.
bool read_alias(const qm_wchar* name, const qm_wchar* group, qm_wchar (&value)[kModuleTextLength]) {
  qm_wchar path[kPropertyPathLength];
  if (is_empty(group)) {
    format_wide(path, kPropertyPathLength, QM_W("/default/%ls"), name);
  } else {
    format_wide(path, kPropertyPathLength, QM_W("/%.511ls/%ls"), group, name);
  }
  SavedError loading_error;
  if (!property_read(path, value)) return false;
  loading_error.keep_newer();
  return true;
}

bool load_alias(const qm_wchar* name, const qm_wchar* group, OpenedModule& opened) {
  qm_wchar value[kModuleTextLength];
  if (serves_properties(name) || !read_alias(name, group, value)) return false;
  const Alias alias = split_alias(value);
  opened.resolved = copy_text(alias.name);
  opened.group = copy_text(alias.group);
  if (!opened.resolved || !opened.group) return fail(QM_ERROR_NO_MEMORY);
  opened.library = load_module_library(opened.resolved.get(), opened.path);
  return static_cast<bool>(opened.library);
}

// Unloads first: the library's clean-up code may record errors of its own.
bool reject(OpenedModule& opened, std::int32_t code, const qm_wchar* message) {
  opened.library.reset();
  return fail(code, message);
}

// A library is a module when it exports a basic information record, or hands one out through its
// call entry, or exports an extended one.
bool accept_exports(OpenedModule& opened) {
  const platform::Library library = opened.library.get();
  const void* exported = platform::find_symbol(library, kInfoExport);
  const std::uint32_t id = exported == nullptr ? 0 : *static_cast<const std::uint32_t*>(exported);
  if (id == QM_MODULE_ID) {
    opened.info = static_cast<const qm_module_info*>(exported);
    return true;
  }
  if (id == QM_EXTENDED_MODULE_ID) opened.extended = static_cast<const qm_extended_info*>(exported);
  const bool extended = opened.extended != nullptr;

  const auto call = reinterpret_cast<qm_call_fn>(platform::find_symbol(library, kCallExport));
  if (call == nullptr) {
    return extended || reject(opened, QM_ERROR_NOT_FOUND, QM_W("(!qm_call || !qmmoduleinfo)"));
  }
  qm_info_request request{nullptr};
  if (call(0, QM_CALL_GETKERNELINFO, &request) == 0) {
    opened.library.reset();
    return false;
  }
  if (request.info == nullptr) {
    return extended || reject(opened, QM_ERROR_NOT_FOUND, QM_W("(!qmcall || !qmmoduleinfo)"));
  }
  if (request.info->id != QM_MODULE_ID) {
    return extended || reject(opened, QM_ERROR_ARGUMENT, QM_W("(module->id)"));
  }
  opened.info = request.info;
  return true;
}

bool replace_text(const qm_wchar*& field, const qm_wchar* text) {
  if (field != nullptr && WideView(field) == text) return true;
  OwnedText copy = copy_text(text);
  if (!copy) return fail(QM_ERROR_NO_MEMORY);
  platform::heap_free(const_cast<qm_wchar*>(std::exchange(field, copy.release())));
  return true;
}

}  // namespace

bool open_module_library(const qm_wchar* name, const qm_wchar* group, OpenedModule& opened) {
  if (name == nullptr) return refuse(QM_W("(!modname)"));
  assert_no_lock_held("a library is loaded");
  opened.library = load_module_library(name, opened.path);
  if (opened.library) {
    if (platform::find_symbol(opened.library.get(), kInfoExport)) return accept_exports(opened);
    // Only the alias of another library may do without this export.
    reject(opened, QM_ERROR_NOT_FOUND, QM_W("(!qm_call || !qmmoduleinfo)"));
  }
  return load_alias(name, group, opened) && accept_exports(opened);
}

bool apply_alias(const OpenedModule& opened, qm_open_module_w& record) {
  if (!opened.resolved) return true;
  return replace_text(record.name, opened.resolved.get()) &&
         (is_empty(opened.group.get()) || replace_text(record.group, opened.group.get()));
}

}  // namespace qmsd
