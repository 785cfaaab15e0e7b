#include "platform/directory.h"

#include <dirent.h>

#include <memory>
#include <string_view>

#include "platform/linux/kernel_path.h"
#include "platform/linux/utf8.h"

namespace qmsd::platform {
namespace {

using WideView = std::basic_string_view<qm_wchar>;

struct CloseDirectory {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

using OpenDirectory = std::unique_ptr<DIR, CloseDirectory>;

// Not inlined: walks nest as deep as directories do, and the path is large.
[[gnu::noinline]] OpenDirectory open_directory(const qm_wchar* path) {
  return OpenDirectory(::opendir(SystemPath(path).c_str()));
}

bool is_entry(std::string_view name) { return name != "." && name != ".."; }

// On a mismatch the last star takes one more character and matching resumes behind it.
bool matches(WideView name, WideView pattern) {
  std::size_t at = 0;
  std::size_t in_pattern = 0;
  std::size_t behind_star = WideView::npos;
  std::size_t star_ends_at = 0;
  while (at < name.size()) {
    if (in_pattern < pattern.size() && pattern[in_pattern] == '*') {
      behind_star = ++in_pattern;
      star_ends_at = at;
    } else if (in_pattern < pattern.size() &&
               (pattern[in_pattern] == '?' || pattern[in_pattern] == name[at])) {
      ++in_pattern;
      ++at;
    } else if (behind_star != WideView::npos) {
      in_pattern = behind_star;
      at = ++star_ends_at;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(u'*', in_pattern) == WideView::npos;
}

}  // namespace

const qm_wchar kPathSeparator = QM_W('/');
const qm_wchar kListSeparator = QM_W(':');

void visit_directory(const qm_wchar* directory, const qm_wchar* pattern, VisitEntry visit,
                     void* context) {
  const OpenDirectory open = open_directory(directory);
  if (open == nullptr) return;
  while (const dirent* entry = ::readdir(open.get())) {
    qm_wchar name[sizeof entry->d_name];
    if (!is_entry(entry->d_name) || !widen_utf8(entry->d_name, name, sizeof entry->d_name))
      continue;
    const DirectoryEntry found{name, name[0] == u'.', entry->d_type == DT_LNK};
    if (matches(name, pattern) && !visit(found, context)) return;
  }
}

}  // namespace qmsd::platform
