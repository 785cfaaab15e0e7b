// Slots: 8 bytes that modules and hosts share by a number.
#pragma once

#include <qmsd7.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <qm/owner.hpp>

namespace qm {

namespace detail {

struct SlotPolicy {
  using Raw = std::int32_t;
  static constexpr Raw none = 0;
  static constexpr std::string_view name = "Slot";
  static void give_back(Kernel kernel, Raw id) noexcept {
    qm_slot record{id, nullptr};
    kernel.call_raw(0, QM_CALL_SLOTRELEASE, &record);
  }
};

}  // namespace detail

/// One use of a slot. Whoever creates it tells its number, get(), to the others; they join it and
/// see the same 8 bytes. The last use ends the slot.
/// Owner: of one use. Errors: those of the functions below. Threads: the owner is one thread's at a
/// time; the bytes are everybody's.
///
///     const qm::Slot mine = qm::Slot::create(kernel);
///     const qm::Slot yours = qm::Slot::join(kernel, mine.get());
///     mine.value<std::uint64_t>() = 42;
///     check(yours.value<std::uint64_t>() == 42);
class Slot : public Owner<detail::SlotPolicy> {
 public:
  Slot() = default;

  /// A new slot of 8 zero bytes.
  /// Owner: the result. Errors: 12, 34 no number left. Threads: any.
  ///
  ///     const qm::Slot slot = qm::Slot::create(kernel);
  ///     check(slot.get() > 0 && slot.value<std::uint64_t>() == 0);
  static Slot create(Kernel kernel) { return try_create(kernel).value(); }
  static Result<Slot> try_create(Kernel kernel) { return use(kernel, QM_CALL_SLOTCREATE, 0); }

  /// One more use of the slot with this number.
  /// Owner: the result. Errors: 2 no such slot, 34 too many uses. Threads: any.
  ///
  ///     check(qm::Slot::try_join(kernel, 12345).error().code() == QM_ERROR_NOT_FOUND);
  static Slot join(Kernel kernel, std::int32_t id) { return try_join(kernel, id).value(); }
  static Result<Slot> try_join(Kernel kernel, std::int32_t id) {
    return use(kernel, QM_CALL_SLOTJOIN, id);
  }

  /// The 8 bytes, aligned to 8; null if the owner is empty. They stay where they are while the slot
  /// lives.
  /// Owner: the slot, not this object. Errors: none. Threads: those who share them agree on how.
  ///
  ///     check(qm::Slot().data() == nullptr);
  void* data() const noexcept { return *this ? data_ : nullptr; }

  /// The bytes as a value of plain type, not safe against other threads; or as one that is.
  /// Owner: the slot, not this object. Errors: the owner must not be empty. Threads: those who
  /// share value() take turns; atomic() is for all at once.
  ///
  ///     const qm::Slot slot = qm::Slot::create(kernel);
  ///     slot.atomic<std::uint32_t>().fetch_add(3);
  ///     check(slot.value<std::uint32_t>() == 3);
  template <class T>
  T& value() const noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= kSize && alignof(T) <= kSize,
                  "a slot holds 8 bytes of plain data");
    return *static_cast<T*>(data());
  }
  template <class T>
  std::atomic_ref<T> atomic() const noexcept {
    static_assert(std::atomic_ref<T>::required_alignment <= kSize, "a slot is aligned to 8 bytes");
    return std::atomic_ref<T>(value<T>());
  }

 private:
  static constexpr std::size_t kSize = 8;

  Slot(Kernel of, std::int32_t id, void* data) noexcept : Owner(of, id), data_(data) {}

  static Result<Slot> use(Kernel kernel, std::uint32_t function, std::int32_t id) {
    qm_slot record{id, nullptr};
    return kernel.try_call(function, &record).transform([&](std::int32_t) {
      return Slot(kernel, record.id, record.data);
    });
  }

  void* data_ = nullptr;  // means nothing in an empty Slot
};

}  // namespace qm
