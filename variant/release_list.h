// Gives references back, and destroys what nobody holds any more: one variant after the other
// instead of by recursion, and only at the end of the list's life. So a list declared before the
// variants' lock is taken destroys after the lock has been left, which matters because destroying
// an object reference calls the module that owns the object.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

class ReleaseList {
 public:
  ReleaseList() noexcept = default;
  ~ReleaseList();
  ReleaseList(const ReleaseList&) = delete;
  ReleaseList& operator=(const ReleaseList&) = delete;

  // Returns the count before. A variant whose count is already below 1 is left alone.
  std::int32_t drop(qm_variant& variant) noexcept;

 private:
  void destroy(qm_variant& variant);

  qm_variant* dead_ = nullptr;
};

// Holds one reference.
class VariantOwner {
 public:
  explicit VariantOwner(qm_variant* variant = nullptr) noexcept : variant_(variant) {}
  VariantOwner(VariantOwner&& from) noexcept : variant_(from.release()) {}
  VariantOwner& operator=(VariantOwner&&) = delete;
  ~VariantOwner() {
    if (variant_ != nullptr) ReleaseList().drop(*variant_);
  }

  qm_variant* get() const noexcept { return variant_; }
  qm_variant& operator*() const noexcept { return *variant_; }
  qm_variant* operator->() const noexcept { return variant_; }
  explicit operator bool() const noexcept { return variant_ != nullptr; }
  [[nodiscard]] qm_variant* release() noexcept {
    qm_variant* variant = variant_;
    variant_ = nullptr;
    return variant;
  }

 private:
  qm_variant* variant_;
};

}  // namespace qmsd
