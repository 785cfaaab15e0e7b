// The tree and its file, for any number of threads.
#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "shared_lock.h"
#include "toolkit/qmproperty/result.h"
#include "toolkit/qmproperty/tree.h"

namespace qmproperty {

// Reads its file at the first use. All text is UTF-8. Calls nobody: the caller reports a failure,
// after the locks are left.
class Store {
 public:
  Result read(std::string_view path, std::string& value);
  Result list(std::string_view path, std::string& names);
  Result write(std::string_view path, std::string_view value);
  Result remove(std::string_view path);
  Result save();

  // Gives the memory back; every later call fails. Never waits.
  void close() noexcept;

 private:
  // The file as it was read, and what became of it.
  struct Content {
    explicit Content(std::filesystem::path name);

    const std::filesystem::path file;
    Result loaded;  // success, or why the tree cannot be used
    Tree tree;
    unsigned changes = 0;  // counts the changes to the tree
    unsigned saved = 0;    // the change that the file holds; belongs to who saves
  };

  // Runs `work` on the content, once there is a usable one, under the given kind of lock.
  template <template <class> class Lock, class Work>
  Result with_content(Work work);

  SharedLock save_lock_;  // one save at a time; taken before `lock_`
  SharedLock lock_;
  std::unique_ptr<Content> content_;
  std::atomic<bool> used_ = false;  // set under the writer's lock, never cleared
};

}  // namespace qmproperty
