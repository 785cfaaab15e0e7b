// The three values that every thread keeps for its errors: the code, the message and the stack.
// For this room only. No locks; each of the slots may be missing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"
#include "kernel/base/growable_array.h"
#include "kernel/errors/error_state.h"
#include "services/text/text.h"

namespace qmsd {

// Read, and reported, in place of the values of a slot that is missing.
inline constexpr const qm_wchar* kNoSlot = QM_W("No thread-local key");

// A message is written into whatever buffer the thread's slot holds, so each one that may come to
// lie there has the full length.
using MessageBuffer = OwnedText;
MessageBuffer make_message_buffer();  // an empty text; null when memory is exhausted

struct SavedMessage {
  std::int32_t code;
  MessageBuffer message;
};

class ErrorStack {
 public:
  ErrorStack() noexcept = default;
  ~ErrorStack();
  ErrorStack(const ErrorStack&) = delete;
  ErrorStack& operator=(const ErrorStack&) = delete;

  bool empty() const noexcept { return entries_.empty(); }
  [[nodiscard]] bool push(SavedMessage error);
  // The stack must not be empty. With the last entry the memory goes, too.
  SavedMessage pop() noexcept;

 private:
  struct Entry {
    std::int32_t code;
    qm_wchar* message;  // owned
  };
  GrowableArray<Entry, 32> entries_;
};

bool has_code_slot() noexcept;
std::int32_t current_code() noexcept;
void set_current_code(std::int32_t code) noexcept;

bool has_message_slot() noexcept;
bool has_message() noexcept;
const qm_wchar* current_message() noexcept;  // never null
// The thread's buffer, made at the first use. Null when there is no slot or no memory.
qm_wchar* message_buffer();
// Puts another buffer, or null, into the slot and hands the old one out; hands the new one back
// when it cannot be put there.
MessageBuffer exchange_message(MessageBuffer next) noexcept;

bool has_stack_slot() noexcept;
ErrorStack* current_stack() noexcept;  // null when the thread has none
ErrorStack* thread_stack();  // made at the first use; null when there is no slot or no memory

}  // namespace qmsd
