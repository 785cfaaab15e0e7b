// Records the kernel's own errors; saves and restores a thread's error.
#include "kernel/errors/error_state.h"

#include <cstdarg>
#include <utility>

#include "kernel/errors/message.h"
#include "kernel/errors/thread_error.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

// `detail` is null for an error without one.
void compose(std::int32_t code, const qm_wchar* detail, qm_wchar* message) {
  qm_wchar text[kMessageLength];
  code_text(code, text);
  MessageWriter writer(message);
  writer.append(text);
  // Messages are compared with those of older kernels, so the second blank before the tag stays.
  if (writer.length() != 0 && writer.length() < kMessageLength - 2) writer.append(QM_W(" "));
  writer.append(QM_W(" [qmsd]"));
  if (detail == nullptr) return;
  writer.append(QM_W(" "));
  writer.append(detail);
}

void record(std::int32_t code, const qm_wchar* format, va_list arguments) {
  set_current_code(code);
  qm_wchar* message = message_buffer();
  if (message == nullptr) return;
  if (format == nullptr) return compose(code, nullptr, message);
  // The arguments may point into the old message, so all are read before it goes.
  qm_wchar detail[kMessageLength];
  format_wide_list(detail, kMessageLength, format, arguments);
  compose(code, detail, message);
}

}  // namespace

bool fail(std::int32_t code) { return fail(code, nullptr); }

bool fail(std::int32_t code, const qm_wchar* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  try {
    record(code, format, arguments);
  } catch (...) {
    // Memory ran out while another error was being recorded: its code has to do.
  }
  va_end(arguments);
  return false;
}

SavedError::SavedError() noexcept
    : code_(current_code()), message_(exchange_message(nullptr).release()) {
  set_current_code(0);
}

SavedError::~SavedError() {
  if (done_) return;
  set_current_code(code_);
  exchange_message(MessageBuffer(message_));
}

void SavedError::keep_newer() noexcept {
  const bool newer = has_message() || (has_code_slot() && current_code() != 0);
  if (!newer || done_) return;
  done_ = true;
  MessageBuffer forgotten(message_);
}

}  // namespace qmsd
