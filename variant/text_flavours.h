// The text flavours a variant can be created from: text that may turn out to be a number or a
// date-time, and UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "services/text/text.h"

namespace qmsd {

// What a text has been recognised as.
struct RecognisedScalar {
  std::int32_t type;
  std::int32_t size;
  std::int64_t bits;  // as a variant keeps it
};

// Integer, floating or date-time; nothing when the whole text is none of them.
std::optional<RecognisedScalar> recognise_scalar(std::string_view text);

// The number of UTF-16 units that the text takes, or nothing for malformed UTF-8. Writes them,
// unless `units` is null.
std::optional<std::size_t> utf16_from_utf8(std::string_view bytes, qm_wchar* units);

}  // namespace qmsd
