// The slots of the error state, and the beginning and end of a thread's values in them.
#include "kernel/errors/thread_error.h"

#include <utility>

#include "platform/heap.h"
#include "platform/thread_slot.h"

namespace qmsd {
namespace {

using StackOwner = platform::HeapOwner<ErrorStack>;

constinit platform::ThreadSlot g_code_slot;
constinit platform::ThreadSlot g_message_slot;
constinit platform::ThreadSlot g_stack_slot;

void free_message(void* message) { platform::heap_free(message); }
void free_stack(void* stack) { StackOwner(static_cast<ErrorStack*>(stack)); }

void* value_of(const platform::ThreadSlot& slot) noexcept {
  return slot.exists() ? slot.get() : nullptr;
}

void* take(const platform::ThreadSlot& slot) noexcept {
  void* value = value_of(slot);
  if (value != nullptr) slot.set(nullptr);
  return value;
}

void forget(const platform::ThreadSlot& slot) noexcept {
  if (slot.exists()) slot.set(nullptr);
}

}  // namespace

MessageBuffer make_message_buffer() {
  MessageBuffer buffer = platform::heap_array<qm_wchar>(kMessageLength);
  if (buffer) buffer[0] = 0;
  return buffer;
}

ErrorStack::~ErrorStack() {
  while (!empty()) pop();
}

bool ErrorStack::push(SavedMessage error) {
  if (!entries_.append({error.code, error.message.get()})) return false;
  error.message.release();
  return true;
}

SavedMessage ErrorStack::pop() noexcept {
  SavedMessage top{entries_.back().code, MessageBuffer(entries_.back().message)};
  entries_.erase(entries_.size() - 1);
  if (entries_.empty()) entries_.clear();
  return top;
}

bool has_code_slot() noexcept { return g_code_slot.exists(); }

std::int32_t current_code() noexcept {
  if (!g_code_slot.exists()) return QM_ERROR_ARGUMENT;
  return static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(g_code_slot.get()));
}

// The code lies in the slot itself.
void set_current_code(std::int32_t code) noexcept {
  if (!g_code_slot.exists()) return;
  g_code_slot.set(reinterpret_cast<void*>(static_cast<std::intptr_t>(code)));
}

bool has_message_slot() noexcept { return g_message_slot.exists(); }
bool has_message() noexcept { return value_of(g_message_slot) != nullptr; }

const qm_wchar* current_message() noexcept {
  if (!g_message_slot.exists()) return kNoSlot;
  const auto* message = static_cast<const qm_wchar*>(g_message_slot.get());
  return message == nullptr ? QM_W("") : message;
}

qm_wchar* message_buffer() {
  if (!g_message_slot.exists()) return nullptr;
  if (!has_message()) exchange_message(make_message_buffer());
  return static_cast<qm_wchar*>(g_message_slot.get());
}

MessageBuffer exchange_message(MessageBuffer next) noexcept {
  void* old = value_of(g_message_slot);
  if (!g_message_slot.exists() || !g_message_slot.set(next.get())) return next;
  next.release();
  return MessageBuffer(static_cast<qm_wchar*>(old));
}

bool has_stack_slot() noexcept { return g_stack_slot.exists(); }
ErrorStack* current_stack() noexcept { return static_cast<ErrorStack*>(value_of(g_stack_slot)); }

ErrorStack* thread_stack() {
  if (ErrorStack* stack = current_stack()) return stack;
  if (!g_stack_slot.exists()) return nullptr;
  StackOwner stack = platform::heap_new<ErrorStack>();
  if (!stack || !g_stack_slot.set(stack.get())) return nullptr;
  return stack.release();
}

void error_state_create() {
  g_code_slot.create(nullptr);
  g_message_slot.create(free_message);
  g_stack_slot.create(free_stack);
}

void error_state_destroy() {
  error_thread_clear();
  g_code_slot.destroy();
  g_message_slot.destroy();
  g_stack_slot.destroy();
}

void error_thread_reset() noexcept {
  forget(g_code_slot);
  forget(g_message_slot);
  forget(g_stack_slot);
}

void error_thread_clear() noexcept {
  forget(g_code_slot);
  void* message = take(g_message_slot);
  void* stack = take(g_stack_slot);
  free_message(message);
  free_stack(stack);
}

}  // namespace qmsd
