// Code texts and the bounded writer.
#include "kernel/errors/message.h"

#include <algorithm>

#include "services/tables/error_texts.h"
#include "services/text/strings.h"

namespace qmsd {

void code_text(std::int32_t code, qm_wchar (&text)[kMessageLength]) {
  // Modules mark their errors with bits above a runtime's number; bit 15 says that there is none.
  constexpr std::int32_t kNumberBits = 0x7FFF;
  constexpr std::int32_t kNoNumber = 0x8000;
  TextFound found = error_texts_lookup(code, text, kMessageLength);
  if (found == TextFound::none && (code & kNoNumber) == 0) {
    found = error_texts_lookup(code & kNumberBits, text, kMessageLength);
  }
  if (found == TextFound::no_table && code != 0) {
    wcs_copy_bounded(text, kMessageLength, QM_W("Unknown Error"));
  }
}

void MessageWriter::append(WideView text) noexcept {
  const std::size_t copied = std::min(text.size(), kMessageLength - 1 - length_);
  text.copy(buffer_ + length_, copied);
  length_ += copied;
  buffer_[length_] = 0;
}

}  // namespace qmsd
