// File names as text.
#include "services/files/path_names.h"

#include <cerrno>
#include <utility>

#include "platform/environment.h"
#include "platform/heap.h"

namespace qmsd {
namespace {

constexpr qm_wchar kSlash = '/';
constexpr qm_wchar kBackslash = '\\';

bool is_letter(qm_wchar c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool begins_with_backslash(WideView path) { return !path.empty() && path[0] == kBackslash; }

// Behind "\\": a server and a share, each with its backslash.
std::size_t unc_root_length(WideView path, std::size_t server) {
  const std::size_t share = path.find(kBackslash, server);
  if (share == WideView::npos) return path.size();
  const std::size_t end = path.find(kBackslash, share + 1);
  return end == WideView::npos ? path.size() : end + 1;
}

std::size_t plain_root_length(WideView path) {
  const bool is_drive = path.size() >= 2 && is_letter(path[0]) && path[1] == ':';
  const std::size_t drive = is_drive ? 2 : 0;
  return drive + (begins_with_backslash(path.substr(drive)) ? 1 : 0);
}

}  // namespace

std::size_t path_root_length(WideView path) {
  constexpr WideView kUnc = QM_W("\\\\");
  constexpr WideView kDevices[] = {QM_W("\\\\?\\"), QM_W("\\\\.\\")};
  constexpr WideView kUncDevice = QM_W("UNC\\");
  for (const WideView device : kDevices) {
    if (!path.starts_with(device)) continue;
    const WideView rest = path.substr(device.size());
    if (rest.starts_with(kUncDevice)) {
      return unc_root_length(path, device.size() + kUncDevice.size());
    }
    return device.size() + plain_root_length(rest);
  }
  return path.starts_with(kUnc) ? unc_root_length(path, kUnc.size()) : plain_root_length(path);
}

const qm_wchar* path_root_end(const qm_wchar* path) {
  return path == nullptr ? nullptr : path + path_root_length(path);
}

WideView parent_of(WideView path) {
  const std::size_t last = path.rfind(kBackslash);
  if (last == WideView::npos) return QM_W(".");
  const bool ends_root = last + 1 == path_root_length(path);
  return path.substr(0, ends_root ? last + 1 : last);
}

OwnedText parent_directory(const qm_wchar* path) {
  OwnedText parent = copy_text(parent_of(path));
  if (!parent) errno = ENOMEM;
  return parent;
}

void normalise_path(qm_wchar* path) {
  qm_wchar* end = path;
  for (const qm_wchar* from = path; *from != 0; ++from) {
    const qm_wchar c = *from == kSlash ? kBackslash : *from;
    const bool repeats = c == kBackslash && end > path + 1 && end[-1] == kBackslash;
    if (!repeats) *end++ = c;
  }

  const WideView text(path, static_cast<std::size_t>(end - path));
  if (text.ends_with(kBackslash) && path_root_length(text) < text.size()) --end;

  // A dot is dropped when two more follow it in the original text.
  qm_wchar* to = path;
  for (const qm_wchar* from = path; from != end; ++from) {
    const bool is_dropped = from[0] == '.' && end - from >= 3 && from[1] == '.' && from[2] == '.';
    if (!is_dropped) *to++ = *from;
  }
  *to = 0;
}

OwnedText expand_filename(OwnedText name) {
  if (!name) return nullptr;
  const std::size_t length = platform::expand_variables(name.get(), nullptr, 0);
  if (length == 0) {
    errno = EFAULT;
    return nullptr;
  }
  OwnedText expanded = platform::heap_array<qm_wchar>(length + 1);
  if (!expanded) {
    errno = ENOMEM;
    return nullptr;
  }
  // Between the two calls another thread may have made a variable longer.
  const std::size_t written = platform::expand_variables(name.get(), expanded.get(), length + 1);
  if (written == 0 || written > length + 1) {
    errno = EFAULT;
    return nullptr;
  }
  normalise_path(expanded.get());
  return expanded;
}

}  // namespace qmsd
