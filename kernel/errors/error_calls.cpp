// The function codes: callers read, set, save and restore their thread's error.
#include "kernel/errors/error_calls.h"

#include <cstdarg>
#include <type_traits>
#include <utility>

#include "kernel/errors/error_state.h"
#include "kernel/errors/message.h"
#include "kernel/errors/thread_error.h"
#include "services/tables/error_texts.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

constexpr std::uint32_t kModeBits = 3;
constexpr const qm_wchar* kLineBreak = QM_W("\r\n");
constexpr const qm_wchar* kClosed = QM_W("qmsd has been closed already");

template <class Record>
std::int32_t answer(Record* record, std::int32_t code, const qm_wchar* message) {
  if (record == nullptr) return code;
  record->code = code;
  text_result(record->text, record->length, message);
  return code;
}

// A lone % at the end counts as a conversion.
bool wants_arguments(const qm_wchar* format) {
  for (; *format != 0; ++format) {
    if (*format != '%') continue;
    if (*++format != '%') return true;
  }
  return false;
}

// The record's pointer is the va_list itself, or its address on systems where a va_list is an
// array. Formatting uses a copy, so the caller's list stays as it is.
template <class List>
void expand(qm_wchar* text, const qm_wchar* format, void* arguments) {
  va_list list;
  if constexpr (std::is_array_v<List>) {
    va_copy(list, *static_cast<List*>(arguments));
  } else {
    va_copy(list, static_cast<List>(arguments));
  }
  format_wide_list(text, kMessageLength, format, list);
  va_end(list);
}

void write_new_text(qm_wchar* text, const qm_set_error_w& record) {
  if (record.text == nullptr) {
    *text = 0;
  } else if ((record.flags & QM_SET_ERROR_LITERAL) != 0) {
    wcs_copy_bounded(text, kMessageLength, record.text);
  } else if (record.arguments != nullptr) {
    expand<va_list>(text, record.text, record.arguments);
  } else if (!wants_arguments(record.text)) {
    format_wide(text, kMessageLength, record.text);
  } else {
    wcs_copy_bounded(text, kMessageLength, record.text);
  }
}

void append_new(MessageWriter& writer, WideView code_text, WideView new_text) {
  writer.append(code_text);
  if (!code_text.empty()) writer.append(QM_W(" "));
  writer.append(new_text);
}

void combine(std::uint32_t mode, qm_wchar* result, WideView code_text, WideView new_text,
             WideView old) {
  MessageWriter writer(result);
  if (mode == QM_SET_ERROR_APPEND && !old.empty()) {
    writer.append(old);
    writer.append(kLineBreak);
  }
  append_new(writer, code_text, new_text);
  // An empty new message takes the old one with it: that is how a caller clears the message.
  if (mode == QM_SET_ERROR_PREPEND && !old.empty() && writer.length() != 0) {
    writer.append(kLineBreak);
    writer.append(old);
  }
}

// In a narrow format %s means narrow text, which is %S in a wide one. "%%s" is changed as well.
void let_strings_be_narrow(qm_wchar* format) {
  for (; *format != 0; ++format) {
    if (format[0] == '%' && format[1] == 's') format[1] = 'S';
  }
}

bool report_empty_stack() {
  qm_wchar* message = message_buffer();
  set_current_code(message == nullptr ? QM_ERROR_NO_MEMORY : QM_ERROR_NOT_FOUND);
  wcs_copy_bounded(message, kMessageLength, QM_W("No more errors in stack"));
  return false;
}

}  // namespace

std::int32_t get_error_wide(qm_get_error_w* record) {
  return answer(record, current_code(), current_message());
}

std::int32_t get_error_narrow(qm_get_error_a* record) {
  return answer(record, current_code(), current_message());
}

std::int32_t closed_error_wide(qm_get_error_w* record) noexcept {
  return answer(record, QM_ERROR_NOT_FOUND, kClosed);
}

std::int32_t closed_error_narrow(qm_get_error_a* record) noexcept {
  return answer(record, QM_ERROR_NOT_FOUND, kClosed);
}

bool set_error_wide(const qm_set_error_w& record) {
  set_current_code(record.code);
  qm_wchar* message = message_buffer();
  if (message == nullptr) return false;
  qm_wchar of_code[kMessageLength];
  *of_code = 0;
  if ((record.flags & QM_SET_ERROR_NO_CODE_TEXT) == 0) code_text(record.code, of_code);
  qm_wchar new_text[kMessageLength];
  write_new_text(new_text, record);
  qm_wchar result[kMessageLength];
  combine(record.flags & kModeBits, result, of_code, new_text, message);
  wcs_copy_bounded(message, kMessageLength, result);
  return true;
}

bool set_error_narrow(const qm_set_error_a& record) {
  qm_wchar text[kMessageLength];
  mbs_to_wcs(text, kMessageLength, record.text);
  let_strings_be_narrow(text);
  return set_error_wide({record.flags, record.code, text, record.arguments});
}

bool push_error() {
  if (!has_stack_slot()) return refuse(kNoSlot);
  ErrorStack* stack = thread_stack();
  MessageBuffer copy = stack == nullptr ? nullptr : make_message_buffer();
  if (!copy) return fail(QM_ERROR_NO_MEMORY);
  wcs_copy_bounded(copy.get(), kMessageLength, current_message());
  return stack->push({current_code(), std::move(copy)}) || fail(QM_ERROR_NO_MEMORY);
}

bool pop_error() {
  if (!has_message_slot()) return false;
  ErrorStack* stack = current_stack();
  if (stack == nullptr || stack->empty()) return report_empty_stack();
  SavedMessage top = stack->pop();
  set_current_code(top.code);
  exchange_message(std::move(top.message));
  return true;
}

bool add_error_texts(const qm_add_error_texts& record) {
  if (record.count < 1) return true;
  if (record.pairs == nullptr) return refuse(QM_W("(!ptr)"));
  bool all_stored = true;
  for (std::int32_t at = 0; at < record.count; ++at) {
    const qm_error_text& pair = record.pairs[at];
    all_stored = error_texts_set(pair.code, pair.text) && all_stored;
  }
  return all_stored || fail(QM_ERROR_NO_MEMORY);
}

}  // namespace qmsd
