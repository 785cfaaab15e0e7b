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
/// Threads: one owner is one thread's at a time, as with std::unique_ptr.
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
  ///
  ///     qm::Variant made = qm::Variant::create(kernel, 1);
  ///     qm::Variant owner(kernel, made.release());
  ///     check(owner && !made);
  Owner(Kernel of, Raw raw) noexcept : kernel_(of), raw_(raw) {}

  Owner(Owner&& from) noexcept
      : kernel_(std::exchange(from.kernel_, Kernel())), raw_(from.release()) {}
  Owner& operator=(Owner&& from) noexcept {
    Owner(std::move(from)).swap(*this);
    return *this;
  }
  ~Owner() { reset(); }

  /// The raw value for calls of one's own, borrowed; and the kernel that it belongs to.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120);
  ///     qm_variant_info info{speed.get(), 0, 0, 0, 0, 0};
  ///     speed.kernel().call(QM_CALL_VARIANTINFO, &info);
  ///     check(info.type == QM_TYPE_SIGNED);
  Raw get() const noexcept { return raw_; }
  Kernel kernel() const noexcept { return kernel_; }
  explicit operator bool() const noexcept { return raw_ != Policy::none; }

  /// Hands the raw value over: now the caller has to give it back. Leaves an empty owner.
  ///
  ///     qm_variant* raw = qm::Variant::create(kernel, 1).release();
  ///     kernel.call(QM_CALL_VARIANTRELEASE, raw);
  [[nodiscard]] Raw release() noexcept { return std::exchange(raw_, Policy::none); }

  /// Gives the thing back now, if there is one, and forgets the kernel.
  /// Errors: none are reported; the owner is empty in any case.
  ///
  ///     qm::Variant speed = qm::Variant::create(kernel, 120);
  ///     speed.reset();
  ///     check(!speed);
  void reset() noexcept {
    if (*this) Policy::give_back(kernel_, release());
    kernel_ = Kernel();
  }

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
