// The search for files: what is wanted, what is there, and the walk down the tree.
#include "services/files/find_files.h"

#include <cerrno>
#include <cstddef>
#include <tuple>

#include "kernel/base/growable_array.h"
#include "platform/directory.h"
#include "platform/heap.h"
#include "platform/multibyte.h"
#include "services/files/directories.h"
#include "services/files/wildcard.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

constexpr std::size_t kPathLength = 280;  // terminator included
constexpr std::size_t kNameLength = 260;

constexpr std::uint32_t kKinds = kFindRegular | kFindDirectories | kFindOthers;
constexpr std::uint32_t kVisibilities = kFindHidden | kFindVisible;
constexpr std::uint32_t kAccesses = kFindAccessible | kFindDenied;

constexpr std::uint32_t normal_flags(std::uint32_t flags) {
  const bool has_kind = (flags & kKinds) != 0;
  if (!has_kind) flags |= kFindRegular;
  if ((flags & kVisibilities) == 0) flags |= kFindVisible;
  if ((flags & kAccesses) == 0) flags |= kAccesses;
  return flags;
}

// Room for the pattern that the system is asked with: "\\*.*".
bool path_is_searchable(WideView path) { return path.size() + 4 < kPathLength; }

void lower_case(qm_wchar* text) {
  for (; *text != 0; ++text) *text = platform::lower_case(*text);
}

class FoundPaths {
 public:
  ~FoundPaths() {
    for (qm_wchar* path : paths_) platform::heap_free(path);
  }
  bool add(const qm_wchar* path) {
    OwnedText copy = copy_text(path);
    if (!copy || !paths_.append(copy.get())) return false;
    std::ignore = copy.release();
    return true;
  }
  std::int32_t hand_over(qm_wchar*** results) {
    const auto count = static_cast<std::int32_t>(paths_.size());
    *results = paths_.release();
    return count;
  }

 private:
  GrowableArray<qm_wchar*, 32> paths_;
};

// Kind, visibility and access of what is at the path.
std::uint32_t classify(const qm_wchar* path, bool is_hidden) {
  std::uint32_t kind = kFindOthers;
  if (is_directory(path)) {
    kind = kFindDirectories;
  } else if (is_regular_file(path)) {
    kind = kFindRegular;
  }
  const bool is_denied = errno == EACCES;
  return kind | (is_hidden ? kFindHidden : kFindVisible) |
         (is_denied ? kFindDenied : kFindAccessible);
}

class Search {
 public:
  Search(const qm_wchar* lower_case_pattern, std::uint32_t flags, FoundPaths& found)
      : pattern_(lower_case_pattern), flags_(flags), found_(found) {}

  // False, with errno, when the search has to be abandoned.
  bool run(const qm_wchar* directory, std::int32_t depth);

 private:
  struct Level {
    Search& search;
    const qm_wchar* directory;
    std::int32_t depth;
    bool is_abandoned;
  };

  bool visit(const Level& level, const platform::DirectoryEntry& entry);
  bool wants(std::uint32_t bits) const { return (bits & ~flags_) == 0; }
  bool matches(const qm_wchar* name) const;

  const qm_wchar* pattern_;
  std::uint32_t flags_;
  FoundPaths& found_;
};

// A dot is appended to names without one, so that they match "*.*".
bool Search::matches(const qm_wchar* name) const {
  qm_wchar text[kNameLength];
  wcs_copy_bounded(text, kNameLength, name);
  const WideView view(text);
  if (view.find(QM_W('.')) == WideView::npos && view.size() < kNameLength - 1) {
    wcs_append_bounded(text, kNameLength, QM_W("."));
  }
  lower_case(text);
  return wildcard_match(text, pattern_);
}

bool Search::visit(const Level& level, const platform::DirectoryEntry& entry) {
  qm_wchar path[kPathLength];
  const bool has_separator = WideView(level.directory).ends_with(QM_W('\\'));
  const int length =
      format_wide(path, kPathLength, has_separator ? QM_W("%ls%ls") : QM_W("%ls\\%ls"),
                  level.directory, entry.name);
  const std::uint32_t bits = classify(path, entry.is_hidden);
  // A cut path may name the directory that is being searched.
  const bool is_whole = length >= 0 && path_is_searchable(path);
  const bool descends = (bits & kFindDirectories) != 0 && level.depth != 0 && is_whole &&
                        !entry.is_link && wants(bits & ~kKinds);
  if (descends && !run(path, level.depth < 0 ? level.depth : level.depth - 1)) return false;
  if (!wants(bits) || !matches(entry.name) || found_.add(path)) return true;
  errno = ENOMEM;
  return false;
}

bool Search::run(const qm_wchar* directory, std::int32_t depth) {
  if (!path_is_searchable(directory)) return true;
  Level level{*this, directory, depth, false};
  const auto visit_one = [](const platform::DirectoryEntry& entry, void* context) {
    auto& visited = *static_cast<Level*>(context);
    visited.is_abandoned = !visited.search.visit(visited, entry);
    return !visited.is_abandoned;
  };
  platform::visit_directory(directory, QM_W("*"), visit_one, &level);
  return !level.is_abandoned;
}

std::int32_t failed(int error) {
  errno = error;
  return -1;
}

}  // namespace

std::int32_t find_files(const qm_wchar* directory, const qm_wchar* pattern, qm_wchar*** results,
                        std::int32_t depth, std::uint32_t flags) {
  if (results == nullptr) return failed(EINVAL);
  *results = nullptr;
  if (directory == nullptr) return failed(EINVAL);
  if (!is_directory(directory)) return -1;
  if (is_empty(pattern)) return failed(EINVAL);
  const OwnedText lower_case_pattern = copy_text(pattern);
  if (!lower_case_pattern) return failed(ENOMEM);
  lower_case(lower_case_pattern.get());

  FoundPaths found;
  Search search(lower_case_pattern.get(), normal_flags(flags), found);
  if (!search.run(directory, depth)) return -1;
  return found.hand_over(results);
}

}  // namespace qmsd
