#include "platform/directory.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

namespace qmsd::platform {
namespace {

constexpr std::size_t kPathSize = 2048;  // more than the system takes without a prefix

// Not inlined: walks nest as deep as directories do, and the path is large.
[[gnu::noinline]] HANDLE find_first(std::wstring_view directory, std::wstring_view pattern,
                                    WIN32_FIND_DATAW& found) noexcept {
  qm_wchar path[kPathSize];
  if (directory.size() + 1 + pattern.size() >= kPathSize) return INVALID_HANDLE_VALUE;
  qm_wchar* end = std::copy(directory.begin(), directory.end(), path);
  *end++ = kPathSeparator;
  *std::copy(pattern.begin(), pattern.end(), end) = 0;
  return ::FindFirstFileW(path, &found);
}

class Search {
 public:
  Search(const wchar_t* directory, const wchar_t* pattern) noexcept
      : handle_(find_first(directory, pattern, found_)) {}
  ~Search() {
    if (found_any()) ::FindClose(handle_);
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  bool found_any() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  DirectoryEntry entry() const noexcept {
    return {found_.cFileName, has(FILE_ATTRIBUTE_HIDDEN), has(FILE_ATTRIBUTE_REPARSE_POINT)};
  }
  bool next() noexcept { return ::FindNextFileW(handle_, &found_) != FALSE; }

 private:
  bool has(DWORD attribute) const noexcept { return (found_.dwFileAttributes & attribute) != 0; }

  WIN32_FIND_DATAW found_;
  HANDLE handle_;
};

bool is_entry(std::wstring_view name) { return name != L"." && name != L".."; }

}  // namespace

const qm_wchar kPathSeparator = QM_W('\\');
const qm_wchar kListSeparator = QM_W(';');

void visit_directory(const qm_wchar* directory, const qm_wchar* pattern, VisitEntry visit,
                     void* context) {
  Search search(directory, pattern);
  if (!search.found_any()) return;
  do {
    const DirectoryEntry entry = search.entry();
    if (is_entry(entry.name) && !visit(entry, context)) return;
  } while (search.next());
}

}  // namespace qmsd::platform
