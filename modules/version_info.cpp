#include "modules/version_info.h"

#include <algorithm>
#include <cstddef>

#include "kernel/base/lock_order.h"
#include "kernel/errors/error_state.h"
#include "memory/tracked_allocator.h"
#include "modules/version_block.h"
#include "platform/heap.h"
#include "platform/version_resource.h"
#include "services/text/strings.h"

namespace qmsd {
namespace {

// Longest file name in narrow text, terminator included.
constexpr std::size_t kNarrowNameLength = 260;

enum class Fetched { block, none, no_memory, unreadable };

struct Resource {
  OwnedText words;
  std::size_t length = 0;
  VersionBlock block() const { return {words.get(), length}; }
};

// The system may map the file as a library, so no lock may be held.
Fetched fetch(const qm_wchar* file, Resource& resource) {
  assert_no_lock_held("a version resource is read");
  const std::size_t bytes = platform::version_resource_size(file);
  if (bytes == 0) return Fetched::none;
  // An odd byte at the end is fetched, but is no word.
  resource.words = platform::heap_array_zeroed<qm_wchar>((bytes + 1) / sizeof(qm_wchar));
  if (!resource.words) return Fetched::no_memory;
  if (!platform::read_version_resource(file, resource.words.get(), bytes)) {
    return Fetched::unreadable;
  }
  resource.length = bytes / sizeof(qm_wchar);
  return Fetched::block;
}

bool fetch_or_fail(const qm_wchar* file, Resource& resource) {
  switch (fetch(file, resource)) {
    case Fetched::none:
      return fail(QM_ERROR_NOT_FOUND, QM_W("(info)"));
    case Fetched::no_memory:
      return fail(QM_ERROR_NO_MEMORY);
    case Fetched::unreadable:
      return fail(QM_ERROR_VERSION_READ, QM_W("(info)"));
    case Fetched::block:
      break;
  }
  return true;
}

bool find_or_fail(VersionBlock block, VersionEntries& entries) {
  switch (find_version_texts(block, entries)) {
    case VersionTable::no_translation:
      return fail(QM_ERROR_VERSION_FORMAT, QM_W("(info) %i"), 1);
    case VersionTable::no_string_table:
      return fail(QM_ERROR_VERSION_FORMAT, QM_W("(info) %i"), 2);
    case VersionTable::found:
      break;
  }
  return true;
}

struct Extent {
  std::size_t pairs = 0;
  std::size_t units = 0;  // of all texts, terminators included

  std::uint64_t bytes() const {
    return offsetof(qm_version_props, pairs) + std::uint64_t{pairs} * sizeof(qm_version_pair) +
           std::uint64_t{units} * sizeof(qm_wchar);
  }
};

Extent measure(VersionEntries entries) {
  Extent extent;
  WideView key;
  WideView value;
  while (entries.next(key, value)) {
    ++extent.pairs;
    extent.units += key.size() + value.size() + 2;
  }
  return extent;
}

qm_wchar* put_text(qm_wchar*& free, WideView text) {
  qm_wchar* const start = free;
  free = std::copy(text.begin(), text.end(), start);
  *free++ = 0;
  return start;
}

void fill(qm_version_props& props, VersionEntries entries, const Extent& extent) {
  std::fill_n(reinterpret_cast<std::byte*>(&props), extent.bytes(), std::byte{0});
  props.count = static_cast<std::uint32_t>(extent.pairs);
  qm_version_pair* pair = props.pairs;
  auto* free = reinterpret_cast<qm_wchar*>(pair + extent.pairs);
  WideView key;
  WideView value;
  for (; entries.next(key, value); ++pair) {
    pair->key = put_text(free, key);
    pair->value = put_text(free, value);
  }
}

// Resizes the caller's block, or releases it when there is nothing to put into it.
bool resize(qm_version_props** props, std::uint64_t bytes) {
  if (bytes > INT32_MAX) return fail(QM_ERROR_NO_MEMORY);
  void* block = *props;
  if (!tracked_realloc(&block, static_cast<std::int32_t>(bytes), nullptr, 0)) return false;
  *props = static_cast<qm_version_props*>(block);
  return true;
}

}  // namespace

bool read_version_info(const qm_wchar* file, qm_version_props** props) {
  if (file == nullptr) return refuse(QM_W("(fname)"));
  if (props == nullptr) return refuse(QM_W("(pversioninfo)"));
  Resource resource;
  VersionEntries entries;
  if (!fetch_or_fail(file, resource) || !find_or_fail(resource.block(), entries)) return false;
  const Extent extent = measure(entries);
  if (extent.pairs == 0) return resize(props, 0) && fail(QM_ERROR_NOT_FOUND, QM_W("(props)"));
  if (!resize(props, extent.bytes())) return false;
  fill(**props, entries, extent);
  return true;
}

bool read_packed_version(const qm_wchar* file, std::uint32_t& version) {
  Resource resource;
  return fetch(file, resource) == Fetched::block && fixed_version(resource.block(), version);
}

bool version_info_wide(qm_version_info_w* record) {
  if (record == nullptr) return refuse(QM_W("(!params)"));
  return read_version_info(record->file, &record->props);
}

bool version_info_narrow(qm_version_info_a* record) {
  if (record == nullptr) return refuse(QM_W("(!params)"));
  qm_wchar file[kNarrowNameLength];
  if (record->file != nullptr) mbs_to_wcs(file, kNarrowNameLength, record->file);
  return read_version_info(record->file != nullptr ? file : nullptr, &record->props);
}

}  // namespace qmsd
