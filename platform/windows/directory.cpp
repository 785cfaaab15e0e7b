#include "platform/directory.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

namespace qmsd::platform {
namespace {

constexpr std::size_t kPathSize = 2048;  // more than the system takes without a prefix

class Search {
 public:
  explicit Search(const wchar_t* path) noexcept : handle_(::FindFirstFileW(path, &found_)) {}
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
  const std::wstring_view parent = directory;
  const std::wstring_view name = pattern;
  qm_wchar path[kPathSize];
  if (parent.size() + 1 + name.size() >= kPathSize) return;
  qm_wchar* end = std::copy(parent.begin(), parent.end(), path);
  *end++ = kPathSeparator;
  *std::copy(name.begin(), name.end(), end) = 0;

  Search search(path);
  if (!search.found_any()) return;
  do {
    const DirectoryEntry entry = search.entry();
    if (is_entry(entry.name) && !visit(entry, context)) return;
  } while (search.next());
}

}  // namespace qmsd::platform
