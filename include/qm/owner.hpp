// What all owners of the kernel's things have in common.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <qm/kernel.hpp>

namespace qm {

/// Owns one thing of the kernel's: moves, never copies, gives it back exactly once. `Policy` names
/// the raw value, the value that stands for nothing, what the thing is called, and how it is given
/// back. An owner that was moved from, released or made without anything is empty: it converts to
/// false, and what needs the thing fails with error 22.
/// Owner: of that thing. Errors: none; giving back never throws. Threads: one owner is one thread's
/// at a time, as with std::unique_ptr.
///
///     qm::Variant speed = qm::Variant::create(kernel, 120);
///     qm::Variant taken = std::move(speed);
///     check(taken && !speed);
///     check(speed.try_info().error().code() == QM_ERROR_ARGUMENT);
template <class Policy>
class Owner {
 public:
  using Raw = typename Policy::Raw;

  Owner() = default;

  /// Takes over `raw`, for which the caller was to give back one reference.
  /// Owner: this object. Errors: none; the value is not looked at. Threads: any.
  ///
  ///     qm::Variant made = qm::Variant::create(kernel, 1);
  ///     qm::Variant owner(kernel, made.release());
  ///     check(owner && !made);
  Owner(Kernel of, Raw raw) noexcept : kernel_(of), raw_(raw) {}

  /// Takes over what the other owns and leaves it empty; what was owned before is given back, as it
  /// is at the owner's end.
  /// Owner: this object. Errors: none. Threads: as the owner.
  ///
  ///     qm::Variant first = qm::Variant::create(kernel, 1);
  ///     qm::Variant second = qm::Variant::create(kernel, 2);
  ///     first = std::move(second);
  ///     check(first.as<int>() == 2 && !second);
  Owner(Owner&& from) noexcept
      : kernel_(std::exchange(from.kernel_, Kernel())), raw_(from.release()) {}
  Owner& operator=(Owner&& from) noexcept {
    Owner(std::move(from)).swap(*this);
    return *this;
  }
  ~Owner() { reset(); }

  /// The raw value for calls of one's own, borrowed; and the kernel that it belongs to.
  /// Owner: this object; the kernel is its library's. Errors: none; the raw value of an empty owner
  /// stands for nothing. Threads: as the owner.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120);
  ///     qm_variant_info info{speed.get(), 0, 0, 0, 0, 0};
  ///     speed.kernel().call(QM_CALL_VARIANTINFO, &info);
  ///     check(info.type == QM_TYPE_SIGNED);
  Raw get() const noexcept { return raw_; }
  Kernel kernel() const noexcept { return kernel_; }
  explicit operator bool() const noexcept { return raw_ != Policy::none; }

  /// Hands the raw value over: now the caller has to give it back. Leaves an empty owner.
  /// Owner: the caller. Errors: none. Threads: as the owner.
  ///
  ///     qm_variant* raw = qm::Variant::create(kernel, 1).release();
  ///     kernel.call(QM_CALL_VARIANTRELEASE, raw);
  [[nodiscard]] Raw release() noexcept { return std::exchange(raw_, Policy::none); }

  /// Gives the thing back now, if there is one, and forgets the kernel.
  /// Owner: empty afterwards. Errors: none are reported. Threads: as the owner.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120);
  ///     speed.reset();
  ///     check(!speed);
  void reset() noexcept {
    if (*this) Policy::give_back(kernel_, release());
    kernel_ = Kernel();
  }

  /// Exchanges what the two own.
  /// Owner: each of the other's. Errors: none. Threads: as both owners.
  ///
  ///     qm::Variant first = qm::Variant::create(kernel, 1);
  ///     qm::Variant second;
  ///     first.swap(second);
  ///     check(!first && second.as<int>() == 1);
  void swap(Owner& other) noexcept {
    std::swap(kernel_, other.kernel_);
    std::swap(raw_, other.raw_);
  }

 protected:
  // A call about the thing, which must be there.
  Result<std::int32_t> try_call_kernel(std::uint32_t function, void* record) const {
    if (!*this) return refusal();
    return kernel_.try_call(function, record);
  }
  static Error refusal() {
    return Error(QM_ERROR_ARGUMENT, "this " + std::string(Policy::name) + " is empty");
  }

 private:
  Kernel kernel_;
  Raw raw_ = Policy::none;
};

}  // namespace qm
