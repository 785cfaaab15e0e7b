// Views of wide text and owned copies of it.
#pragma once

#include <string_view>

#include "include/qmsd7.h"
#include "platform/heap.h"

namespace qmsd {

using WideView = std::basic_string_view<qm_wchar>;

// A terminated text in kernel heap memory, or null.
using OwnedText = platform::HeapArray<qm_wchar>;
using OwnedNarrow = platform::HeapArray<char>;

// Null only when memory is exhausted.
[[nodiscard]] OwnedText copy_text(WideView text);
[[nodiscard]] OwnedNarrow copy_narrow(std::string_view text);

// An empty view for null.
inline WideView view_of(const qm_wchar* text) {
  return text == nullptr ? WideView{} : WideView{text};
}
inline bool is_empty(const qm_wchar* text) { return text == nullptr || *text == 0; }
inline bool is_empty(const char* text) { return text == nullptr || *text == 0; }

}  // namespace qmsd
