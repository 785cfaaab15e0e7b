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

// Strict UTF-8 (no overlong forms, no surrogates, at most U+10FFFF) to UTF-16. Gives the number of
// units, or nothing for malformed text. `units` may be null to count only.
std::optional<std::size_t> decode_utf8(std::string_view bytes, qm_wchar* units);

}  // namespace qmsd
