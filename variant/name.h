// The names of variants. A name never changes, so a variant and its copies share one. A name is
// a pointer to its text; length and reference count lie in front of that.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "services/text/text.h"

namespace qmsd {

// With one reference; null when memory is exhausted.
[[nodiscard]] qm_wchar* make_name(WideView text);
// Both accept null, which stands for no name.
qm_wchar* share_name(qm_wchar* name) noexcept;
void drop_name(qm_wchar* name) noexcept;  // the last reference frees it

struct NameHeader {
  std::size_t length;
  std::atomic<std::uint32_t> references;
};

// Only for a name that was made here and is not null.
inline NameHeader& header_of(qm_wchar* name) noexcept {
  return reinterpret_cast<NameHeader*>(name)[-1];
}
inline WideView name_text(qm_wchar* name) noexcept { return {name, header_of(name).length}; }

}  // namespace qmsd
