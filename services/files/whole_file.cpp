// Whole files in and out.
#include "services/files/whole_file.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "kernel/errors/error_state.h"
#include "memory/tracked_allocator.h"
#include "platform/file.h"
#include "platform/heap.h"
#include "services/files/directories.h"
#include "services/files/path_names.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

using Contents = platform::HeapArray<char>;

constexpr int kDirectoryMode = 0755;

bool fail_name() { return fail(QM_ERROR_ARGUMENT, QM_W("(!filename)")); }

// Reports what the runtime said last, captured before anything can disturb it.
bool fail_last(const qm_wchar* condition) {
  const int error = errno;
  return fail(error != 0 ? error : EFAULT, condition);
}

bool is_name_kind(std::int32_t kind) {
  return kind == QM_FILE_NAME_NARROW || kind == QM_FILE_NAME_WIDE;
}

// The record's name in wide normal form; null with errno.
OwnedText normal_name(const qm_file& record) {
  if (record.kind == QM_FILE_NAME_NARROW) {
    return expand_filename(wcs_from_mbs_alloc(static_cast<const char*>(record.filename)));
  }
  OwnedText name = copy_text(static_cast<const qm_wchar*>(record.filename));
  if (!name) errno = ENOMEM;
  return expand_filename(std::move(name));
}

// ---- Reading ----

// Four zero bytes behind the contents keep readers of text inside them; sizes are signed 32-bit.
constexpr std::int32_t kSlack = 4;
constexpr std::int64_t kTooLarge = INT32_MAX - kSlack;

// Reads the whole file; an empty one has no contents. Returns 0 or the error.
std::int32_t load(const qm_wchar* name, Contents& contents, std::int32_t& read_size) {
  platform::InputFile file;
  std::int64_t size = 0;
  if (const int error = file.open(name)) return error;
  if (const int error = file.size(size)) return error;
  if (size >= kTooLarge) return QM_ERROR_RANGE;
  const auto length = static_cast<std::size_t>(size);
  if (length != 0) {
    contents = platform::heap_array<char>(length + kSlack);
    if (!contents) return QM_ERROR_NO_MEMORY;
    if (file.read(contents.get(), length) != length) return QM_ERROR_SHORT_READ;
    std::memset(contents.get() + length, 0, kSlack);
  }
  read_size = static_cast<std::int32_t>(size);
  return 0;
}

// ---- Writing ----

// Makes sure that a file can be where the name says: nothing else is there, and its directory is.
bool prepare_place(const qm_wchar* name) {
  if (is_regular_file(name)) return true;
  if (errno == EISDIR) return false;
  const OwnedText parent = parent_directory(name);
  return parent && (make_directory(parent.get(), true, kDirectoryMode) || errno == EEXIST);
}

// Writes and closes; records the first failure.
bool store(platform::OutputFile& file, const qm_file& record) {
  const int write_error = file.write(record.data, static_cast<std::size_t>(record.size));
  if (write_error != 0) fail(write_error, QM_W("(file writing)"));
  const int close_error = file.close();
  if (write_error != 0) return false;
  return close_error == 0 || fail(close_error, QM_W("(file closing)"));
}

}  // namespace

bool read_file(qm_file* record) {
  if (record == nullptr || record->filename == nullptr) return fail_name();
  record->size = 0;
  record->data = nullptr;
  if (!is_name_kind(record->kind)) return fail_name();
  const OwnedText name = normal_name(*record);
  if (!name) return fail_last(QM_W("(filename)"));

  Contents contents;
  record->size = -1;
  if (const std::int32_t error = load(name.get(), contents, record->size)) {
    return fail(error, QM_W("(file)"));
  }
  if (record->size == 0) return true;
  void* block = nullptr;
  if (!tracked_realloc(&block, record->size, nullptr, 0)) return false;
  std::memcpy(block, contents.get(), static_cast<std::size_t>(record->size));
  record->data = block;
  return true;
}

bool write_file(qm_file* record) {
  if (record == nullptr || record->filename == nullptr) return fail_name();
  if (record->size < 0 || record->data == nullptr) return fail(QM_ERROR_ARGUMENT, QM_W("(!data)"));
  if (!is_name_kind(record->kind)) return fail_name();
  const OwnedText name = normal_name(*record);
  if (!name) return fail_last(QM_W("(filename)"));

  if (!prepare_place(name.get())) return fail_last(QM_W("(file creation)"));
  platform::OutputFile file;
  if (const int error = file.open(name.get())) {
    return fail(error, QM_W("(file creation)"));
  }
  if (store(file, *record)) return true;
  // No partial file is left behind.
  if (is_regular_file(name.get())) platform::remove_file(name.get());
  return false;
}

}  // namespace qmsd
