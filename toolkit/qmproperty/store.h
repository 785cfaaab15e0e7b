// The tree and its file, for any number of threads.
#pragma once

#include <atomic>
#include <filesystem>
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
  enum class State { unread, ready, unusable, closed };

  // Runs `work` on the loaded tree under the given kind of lock.
  template <template <class> class Lock, class Work>
  Result with_tree(Work work);
  void load();

  // Taken before `lock_`: one save at a time, and readers need not wait for the disk.
  SharedLock save_lock_;
  unsigned saved_ = 0;  // the change that the file holds

  SharedLock lock_;
  std::atomic<State> state_ = State::unread;  // changes under the writer's lock
  Tree tree_;
  unsigned changes_ = 0;  // counts the changes to the tree
  // Set while loading, constant afterwards.
  std::filesystem::path file_;
  Result problem_;  // why the tree is unusable
};

}  // namespace qmproperty
