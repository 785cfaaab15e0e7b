#include "modules/module_listing.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

#include "kernel/base/lock_order.h"
#include "kernel/errors/error_state.h"
#include "memory/tracked_allocator.h"
#include "modules/version_info.h"
#include "platform/directory.h"
#include "platform/environment.h"
#include "platform/library.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

constexpr std::size_t kVariableLength = 1024;  // longer values of PATH count as empty
constexpr std::size_t kLongestDirectory = 960;
constexpr std::size_t kPatternLength = 1024;

// Gives a tracked array at least `length` elements; new ones are zero.
template <class T>
bool grow(T*& array, std::size_t& length, std::size_t wanted) {
  if (wanted <= length) return true;
  void* block = array;
  if (!tracked_realloc(&block, static_cast<std::int32_t>(wanted * sizeof(T)), nullptr, 0))
    return false;
  array = static_cast<T*>(block);
  std::fill(array + length, array + wanted, T{});
  length = wanted;
  return true;
}

// Collects the listing in the caller's record. An entry for which there is no memory is left out.
class Listing {
 public:
  Listing(qm_list_modules_w& record, const qm_wchar* pattern) : record_(record) {
    const int length =
        format_wide(pattern_, kPatternLength, QM_W("%ls%ls"),
                    pattern != nullptr ? pattern : QM_W("*"), platform::kLibraryExtension);
    searchable_ = length >= 0;  // no file has a name that long
  }
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;

  ~Listing() {
    if (used_paths() == path_places_) return;
    tracked_release(record_.paths[used_paths()]);
    record_.paths[used_paths()] = nullptr;
  }

  void search(const qm_wchar* directory) {
    if (!searchable_) return;
    directory_ = WideView(directory).substr(0, kLongestDirectory);
    platform::visit_directory(directory, pattern_, &visit, this);
  }

 private:
  static bool visit(const platform::DirectoryEntry& entry, void* listing) {
    static_cast<Listing*>(listing)->add(entry.name);
    return true;
  }

  std::size_t used_paths() const { return static_cast<std::size_t>(record_.count); }

  // The path of a file without a version stays behind the counted ones, where the next overwrites
  // it.
  void add(WideView name) {
    const std::size_t at = used_paths();
    std::uint32_t version;
    if (grow(record_.paths, path_places_, at + 1) &&
        grow(record_.versions, version_places_, at + 1) && write_path(record_.paths[at], name) &&
        read_packed_version(record_.paths[at], version)) {
      record_.versions[at] = version;
      ++record_.count;
    }
  }

  bool write_path(qm_wchar*& path, WideView name) {
    const std::size_t length = directory_.size() + 1 + name.size() + 1;
    void* block = path;
    if (!tracked_realloc(&block, static_cast<std::int32_t>(length * sizeof(qm_wchar)), nullptr, 0))
      return false;
    path = static_cast<qm_wchar*>(block);
    qm_wchar* end = std::copy(directory_.begin(), directory_.end(), path);
    *end++ = platform::kPathSeparator;
    *std::copy(name.begin(), name.end(), end) = 0;
    return true;
  }

  qm_list_modules_w& record_;
  qm_wchar pattern_[kPatternLength];
  bool searchable_;
  WideView directory_;
  std::size_t path_places_ = 0;
  std::size_t version_places_ = 0;
};

// Entries are taken literally: not expanded, and searched again if named twice.
void search_path_variable(Listing& listing) {
  qm_wchar value[kVariableLength];
  platform::read_variable("PATH", value, kVariableLength);
  for (qm_wchar* entry = value; *entry != 0;) {
    const WideView rest(entry);
    const std::size_t length = std::min(rest.find(platform::kListSeparator), rest.size());
    const bool last = length == rest.size();
    entry[length] = 0;
    if (length != 0) listing.search(entry);
    entry += last ? length : length + 1;
  }
}

void search_qm_folder(Listing& listing) {
  constexpr std::size_t kLength = kVariableLength + 32;
  qm_wchar root[kLength];
  if (!platform::listed_system_directory(root, kLength)) return;
  qm_wchar directory[kLength + 3];
  format_wide(directory, std::ssize(directory), QM_W("%ls%cqm"), root, platform::kPathSeparator);
  listing.search(directory);
}

// A listing that is converted and then released.
struct PrivateListing {
  qm_list_modules_w record{};
  PrivateListing() = default;
  PrivateListing(const PrivateListing&) = delete;
  PrivateListing& operator=(const PrivateListing&) = delete;
  ~PrivateListing() {
    for (std::int32_t i = 0; i < record.count; ++i) tracked_release(record.paths[i]);
    tracked_release(record.paths);
    tracked_release(record.versions);
  }
};

// Null when there is no memory for it.
char* narrow_path(const qm_wchar* path) {
  const auto size = static_cast<std::int32_t>(WideView(path).size() * 4 + 32);
  void* block = nullptr;
  if (!tracked_realloc(&block, size, nullptr, 0)) return nullptr;
  auto* narrow = static_cast<char*>(block);
  wcs_to_mbs(narrow, size, path);
  return narrow;
}

bool refuse_null_record() { return refuse(QM_W("Null pointer detected")); }

}  // namespace

bool list_modules_wide(qm_list_modules_w* record) {
  if (record == nullptr) return refuse_null_record();
  assert_no_lock_held("modules are listed");
  record->paths = nullptr;
  record->versions = nullptr;
  record->count = 0;
  const SavedError caller_error;  // what is left out is left out silently
  Listing listing(*record, record->pattern);
  listing.search(QM_W("."));
  search_path_variable(listing);
  search_qm_folder(listing);
  return true;
}

bool list_modules_narrow(qm_list_modules_a* record) {
  if (record == nullptr) return refuse_null_record();
  record->paths = nullptr;
  record->versions = nullptr;
  record->count = 0;
  const SavedError caller_error;
  qm_wchar pattern[kPatternLength];
  if (record->pattern != nullptr) mbs_to_wcs(pattern, kPatternLength, record->pattern);
  PrivateListing wide;
  wide.record.reserved = record->reserved;
  wide.record.pattern = record->pattern != nullptr ? pattern : nullptr;
  list_modules_wide(&wide.record);

  std::size_t places = 0;
  const auto count = static_cast<std::size_t>(wide.record.count);
  if (grow(record->paths, places, count)) record->count = wide.record.count;
  for (std::int32_t i = 0; i < record->count; ++i)
    record->paths[i] = narrow_path(wide.record.paths[i]);
  record->versions = std::exchange(wide.record.versions, nullptr);
  return true;
}

}  // namespace qmsd
