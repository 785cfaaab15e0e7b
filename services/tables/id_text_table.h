// What the group table and the error-text table have in common: 32-bit ids with owned texts in a
// flat sorted array, a lock, and a flag that they were loaded. What an absent text means is up to
// each table.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "include/qmsd7.h"
#include "kernel/base/growable_array.h"
#include "kernel/base/rw_lock.h"
#include "platform/heap.h"
#include "services/text/text.h"

namespace qmsd {

// Ids may lie further apart than 32 bits can tell: the differences have 64.
struct Ascending {
  static constexpr std::int64_t compare(std::int32_t a, std::int32_t b) {
    return std::int64_t{a} - b;
  }
};
struct Descending {
  static constexpr std::int64_t compare(std::int32_t a, std::int32_t b) {
    return std::int64_t{b} - a;
  }
};

struct IdText {
  std::int32_t id;
  qm_wchar* text;  // owned by the table; may be null
};

// Running out of memory leaves the table as it was, replace() excepted.
template <class Order, std::size_t Step>
class IdTextTable {
 public:
  IdTextTable() noexcept = default;
  ~IdTextTable() { clear(); }
  IdTextTable(const IdTextTable&) = delete;
  IdTextTable& operator=(const IdTextTable&) = delete;

  std::size_t size() const noexcept { return entries_.size(); }

  // Null when there is none.
  IdText* find(std::int32_t id) { return sorted_ ? find_sorted(id) : find_last(id); }

  // The id must not be there yet.
  [[nodiscard]] bool insert(std::int32_t id, OwnedText text) {
    if (!sorted_) sort();
    if (!entries_.insert(place_of(id), IdText{id, text.get()})) return false;
    text.release();
    return true;
  }

  // For filling in bulk: until sort() is called, searches look at every entry, the last one first.
  [[nodiscard]] bool append(std::int32_t id, OwnedText text) {
    if (!entries_.append(IdText{id, text.get()})) return false;
    text.release();
    sorted_ = false;
    return true;
  }
  void sort() {
    std::sort(entries_.begin(), entries_.end(),
              [](const IdText& a, const IdText& b) { return Order::compare(a.id, b.id) < 0; });
    sorted_ = true;
  }

  // Gives an entry a copy of the text, or none. The old text is gone even if the copy fails.
  [[nodiscard]] bool replace(IdText& entry, const qm_wchar* text) {
    platform::heap_free(std::exchange(entry.text, nullptr));
    if (text == nullptr) return true;
    entry.text = copy_text(text).release();
    return entry.text != nullptr;
  }

  void remove(IdText& entry) {
    platform::heap_free(entry.text);
    entries_.erase(static_cast<std::size_t>(&entry - entries_.begin()));
    if (entries_.empty()) entries_.clear();
  }

  void clear() {
    for (IdText& entry : entries_) platform::heap_free(entry.text);
    entries_.clear();
    sorted_ = true;
  }

 private:
  std::size_t place_of(std::int32_t id) const {
    return entries_.lower_bound(
        [id](const IdText& entry) { return Order::compare(entry.id, id) < 0; });
  }
  IdText* find_sorted(std::int32_t id) {
    IdText* entry = entries_.begin() + place_of(id);
    return entry != entries_.end() && entry->id == id ? entry : nullptr;
  }
  IdText* find_last(std::int32_t id) {
    for (IdText* entry = entries_.end(); entry != entries_.begin();) {
      if ((--entry)->id == id) return entry;
    }
    return nullptr;
  }

  GrowableArray<IdText, Step> entries_;
  bool sorted_ = true;
};

// A table that all threads use.
template <class Order, std::size_t Step>
class SharedTextTable {
 public:
  explicit SharedTextTable(LockRank rank) noexcept : lock(rank) {}

  // True for the first caller only.
  bool claim_loading() noexcept { return !claimed_.exchange(true); }

  RwLock lock;  // guards the entries
  IdTextTable<Order, Step> entries;

 private:
  std::atomic<bool> claimed_{false};
};

}  // namespace qmsd
