// Loading, sharing and saving of the tree.
#include "toolkit/qmproperty/store.h"

#include <mutex>
#include <shared_mutex>
#include <system_error>
#include <utility>

#include "qmsd7.h"
#include "toolkit/qmproperty/system.h"

namespace qmproperty {
namespace {

std::string name_of(const std::filesystem::path& file) {
  const std::u8string name = file.u8string();
  return {name.begin(), name.end()};
}

Result file_problem(const std::filesystem::path& file, const char* what, std::error_code error) {
  const std::error_condition condition = error.default_error_condition();
  const bool has_errno = condition.category() == std::generic_category();
  return {has_errno ? condition.value() : QM_ERROR_DAMAGED,
          name_of(file) + " cannot be " + what + " (system error " + std::to_string(error.value()) +
              ")"};
}

}  // namespace

Store::Content::Content(std::filesystem::path name) : file(std::move(name)) {
  std::string document;
  const std::error_code error = read_file(file, document);
  if (error && error != std::errc::no_such_file_or_directory) {
    loaded = file_problem(file, "read", error);
  } else if (Result parsed = tree.parse(document); !parsed) {
    loaded = {parsed.code, name_of(file) + ", " + parsed.message};
  }
}

template <template <class> class Lock, class Work>
Result Store::with_content(Work work) {
  if (!used_) {
    const std::unique_lock lock(lock_);
    if (!used_) content_ = std::make_unique<Content>(library_directory() / "qmproperty.toml");
    used_ = true;
  }
  const Lock<SharedLock> lock(lock_);
  if (content_ == nullptr) return {QM_ERROR_NOT_FOUND, "the properties are closed"};
  return content_->loaded ? work(*content_) : content_->loaded;
}

Result Store::read(std::string_view path, std::string& value) {
  return with_content<std::shared_lock>(
      [&](const Content& content) { return content.tree.read(path, value); });
}

Result Store::list(std::string_view path, std::string& names) {
  return with_content<std::shared_lock>(
      [&](const Content& content) { return content.tree.list(path, names); });
}

Result Store::write(std::string_view path, std::string_view value) {
  return with_content<std::unique_lock>([&](Content& content) {
    Result result = content.tree.write(path, value);
    if (result) ++content.changes;
    return result;
  });
}

Result Store::remove(std::string_view path) {
  return with_content<std::unique_lock>([&](Content& content) {
    Result result = content.tree.remove(path);
    if (result) ++content.changes;
    return result;
  });
}

Result Store::save() {
  const std::unique_lock saving(save_lock_);
  std::string document;
  unsigned change = 0;
  bool changed = false;
  Result result = with_content<std::shared_lock>([&](const Content& content) {
    change = content.changes;
    changed = change != content.saved;
    if (changed) document = content.tree.document();
    return Result();
  });
  if (!result || !changed) return result;
  // close() gives up while a save is running, so the content is still there.
  if (const std::error_code error = replace_file(content_->file, document)) {
    return file_problem(content_->file, "written", error);
  }
  content_->saved = change;
  return {};
}

void Store::close() noexcept {
  const std::unique_lock saving(save_lock_, std::try_to_lock);
  const std::unique_lock lock(lock_, std::try_to_lock);
  if (!saving || !lock) return;  // a thread was stopped inside: the process is ending
  used_ = true;
  content_.reset();
}

}  // namespace qmproperty
