// The names of variants. A name never changes, so a variant and its copies share one.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "services/text/text.h"

namespace qmsd {

// What a name in memory begins with; its text and a terminator follow.
class Name {
 public:
  // With one reference; null when memory is exhausted.
  [[nodiscard]] static Name* make(WideView text);

  void add_reference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
  void drop_reference() noexcept;  // the last one frees the name

  const qm_wchar* text() const noexcept { return reinterpret_cast<const qm_wchar*>(this + 1); }
  WideView view() const noexcept { return {text(), length_}; }

 private:
  explicit Name(std::size_t length) noexcept : length_(length) {}

  const std::size_t length_;
  std::atomic<std::uint32_t> references_{1};
};

}  // namespace qmsd
