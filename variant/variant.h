// A variant from the inside. This class alone knows how a variant is stored; it takes no locks and
// records no errors. All its memory is kernel heap.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "include/qmsd7.h"
#include "platform/heap.h"
#include "services/text/text.h"
#include "variant/child_list.h"
#include "variant/name.h"
#include "variant/types.h"

namespace qmsd {

using Bytes = platform::HeapArray<std::byte>;

// The object that a variant refers to, its module, and the codes for telling that module.
struct ObjectOwner {
  std::uint32_t value;
  const qm_wchar* module;  // the variant's own copy
  std::span<const std::uint32_t> codes;
};

class ReleaseList;

}  // namespace qmsd

struct qm_variant {
 public:
  qm_variant() noexcept = default;
  ~qm_variant();  // frees its own memory; children must have been released
  qm_variant(const qm_variant&) = delete;
  qm_variant& operator=(const qm_variant&) = delete;

  std::int32_t id() const noexcept { return id_; }
  std::int32_t type() const noexcept { return type_; }
  std::int32_t size() const noexcept { return size_; }
  qmsd::Kind kind() const noexcept { return qmsd::kind_of(type_); }
  const qm_wchar* name() const noexcept { return name_; }  // null for none
  // Without a name only unnamed variants match. `hash` is the name's.
  bool is_named(const std::optional<qmsd::WideView>& name, std::uint32_t hash) const noexcept {
    if (name_hash_ != hash) return false;
    if (name_ == nullptr || !name) return name_ == nullptr && !name;
    // The hash covers the first half of a name: others with the same hash differ near the end.
    const qmsd::WideView own = qmsd::name_text(name_);
    return own.size() == name->size() && std::equal(own.rbegin(), own.rend(), name->rbegin());
  }
  // What the information call reports: elements, items, or 1 for other values.
  std::int32_t item_count() const noexcept;

  // Scalars: the value widened to 64 bits.
  std::int64_t bits() const noexcept { return value_.bits; }
  // Arrays, binaries and texts: the stored bytes, a text's terminator included.
  std::span<const std::byte> data() const noexcept;
  std::span<std::byte> data() noexcept;
  // Texts of either kind: the characters up to the first terminator.
  std::string_view narrow_text() const noexcept;
  qmsd::WideView wide_text() const noexcept;
  qmsd::ObjectOwner object() const noexcept;

  qmsd::ChildList items() noexcept { return {value_.block.items, size_}; }
  qmsd::ChildList attributes() noexcept { return {attributes_, attribute_count_}; }

  // ---- Building, from an empty variant only ----
  void set_id(std::int32_t id) noexcept { id_ = id; }
  [[nodiscard]] bool set_name(const qm_wchar* name);  // false when memory is exhausted
  void become_scalar(std::int32_t type, std::int32_t size, std::int64_t bits) noexcept;
  void become_container() noexcept { type_ = QM_TYPE_CONTAINER; }
  // Adopts the bytes; `count` is the number of an array's elements, 1 otherwise.
  void become_block(std::int32_t type, std::int32_t size, std::int32_t count,
                    qmsd::Bytes data) noexcept;
  void become_object(std::int32_t size, std::uint32_t value, qmsd::OwnedText module,
                     qmsd::Bytes codes) noexcept;

  // A copy of everything but items and attributes, with one reference; null when memory is
  // exhausted. The owner of a copied object does not know of it yet.
  [[nodiscard]] qmsd::platform::HeapOwner<qm_variant> copy_without_children() const;

  // Exchanges type, size, value and code words; references and attributes stay.
  void swap_value(qm_variant& other) noexcept;
  // Exchanges id and name.
  void swap_identity(qm_variant& other) noexcept;

  // ---- References ----
  std::int32_t references() const noexcept { return references_.load(std::memory_order_relaxed); }
  std::int32_t add_reference() noexcept;   // the new count, whatever it was
  void add_reference_if_alive() noexcept;  // only when the count is above 0
  std::int32_t drop_reference() noexcept;  // the count before; below 1 it stays

 private:
  friend class qmsd::ReleaseList;

  struct Block {
    union {
      std::byte* bytes;       // arrays, binaries, texts
      qm_variant** items;     // containers
      std::uintptr_t object;  // object references: the object's value
    };
    union {
      std::int32_t count;  // arrays
      qm_wchar* module;    // object references
    };
  };

  // The order of the fields never changes, so that memory dumps of all versions read alike.
  std::int32_t id_ = 0;
  std::int32_t type_ = QM_TYPE_EMPTY;
  std::int32_t size_ = 0;
  std::atomic<std::int32_t> references_{1};
  union {
    std::int64_t bits;
    Block block;
  } value_{};
  std::uint32_t* codes_ = nullptr;
  std::uint32_t name_hash_ = 0xFFFFFFFF;
  union {
    qm_wchar* name_ = nullptr;
    qm_variant* next_dead_;  // once the last reference has gone
  };
  qm_variant** attributes_ = nullptr;
  std::int32_t attribute_count_ = 0;
};
