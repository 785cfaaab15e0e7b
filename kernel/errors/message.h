// The parts of an error message. For this room only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"
#include "kernel/errors/error_state.h"
#include "services/text/text.h"

namespace qmsd {

// The text that stands for the code in messages; empty when there is none.
void code_text(std::int32_t code, qm_wchar (&text)[kMessageLength]);

// Writes a message from its beginning into a buffer of full length; what does not fit is cut.
class MessageWriter {
 public:
  explicit MessageWriter(qm_wchar* buffer) noexcept : buffer_(buffer) { buffer_[0] = 0; }

  std::size_t length() const noexcept { return length_; }
  void append(WideView text) noexcept;

 private:
  qm_wchar* buffer_;
  std::size_t length_ = 0;
};

}  // namespace qmsd
