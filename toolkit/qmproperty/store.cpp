// Loading, sharing and saving of the tree.
#include "toolkit/qmproperty/store.h"

#include <mutex>
#include <shared_mutex>
#include <system_error>

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

void Store::load() {
  file_ = library_directory() / "qmproperty.toml";
  std::string document;
  problem_ = {};
  const std::error_code error = read_file(file_, document);
  if (error && error != std::errc::no_such_file_or_directory) {
    problem_ = file_problem(file_, "read", error);
  } else if (Result bad = tree_.parse(document); !bad) {
    problem_ = {bad.code, name_of(file_) + ", " + bad.message};
  }
  state_ = problem_ ? State::ready : State::unusable;
}

template <template <class> class Lock, class Work>
Result Store::with_tree(Work work) {
  if (state_ == State::unread) {
    const std::unique_lock lock(lock_);
    if (state_ == State::unread) load();
  }
  const Lock<SharedLock> lock(lock_);
  if (state_ == State::closed) return {QM_ERROR_NOT_FOUND, "the properties are closed"};
  return state_ == State::ready ? work() : problem_;
}

Result Store::read(std::string_view path, std::string& value) {
  return with_tree<std::shared_lock>([&] { return tree_.read(path, value); });
}

Result Store::list(std::string_view path, std::string& names) {
  return with_tree<std::shared_lock>([&] { return tree_.list(path, names); });
}

Result Store::write(std::string_view path, std::string_view value) {
  return with_tree<std::unique_lock>([&] {
    ++changes_;
    return tree_.write(path, value);
  });
}

Result Store::remove(std::string_view path) {
  return with_tree<std::unique_lock>([&] {
    ++changes_;
    return tree_.remove(path);
  });
}

Result Store::save() {
  const std::unique_lock saving(save_lock_);
  unsigned change = 0;
  std::string document;
  Tree copy;
  Result result = with_tree<std::shared_lock>([&] {
    change = changes_;
    if (change == saved_) return Result();
    document = tree_.document();
    Result readable = copy.parse(document);
    return readable && copy == tree_
               ? Result()
               : Result{QM_ERROR_DAMAGED, "the tree cannot be written as TOML"};
  });
  if (!result || change == saved_) return result;
  if (const std::error_code error = replace_file(file_, document)) {
    return file_problem(file_, "written", error);
  }
  saved_ = change;
  return {};
}

void Store::close() noexcept {
  const std::unique_lock saving(save_lock_, std::try_to_lock);
  const std::unique_lock lock(lock_, std::try_to_lock);
  if (!saving || !lock) return;  // a thread was stopped inside: the process is ending
  state_ = State::closed;
  tree_ = Tree();
  file_.clear();
  problem_ = {};
}

}  // namespace qmproperty
