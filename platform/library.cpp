// Paths that the system knows, unless a test has set others.
#include "platform/library.h"

#include <algorithm>
#include <atomic>
#include <string_view>

#include "platform/system_paths.h"
#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

std::atomic<const qm_wchar*> other_system_directory{nullptr};
std::atomic<bool> executable_name_hidden{false};

// False when no test has set a directory.
bool answer_instead(qm_wchar* buffer, std::size_t length) {
  const qm_wchar* other = other_system_directory.load(std::memory_order_acquire);
  if (other == nullptr) return false;
  const std::basic_string_view<qm_wchar> text = other;
  *std::copy_n(text.begin(), text.size() < length ? text.size() : 0, buffer) = 0;
  return true;
}

}  // namespace

void system_directory(qm_wchar* buffer, std::size_t length) {
  if (!answer_instead(buffer, length)) os_system_directory(buffer, length);
}

bool listed_system_directory(qm_wchar* buffer, std::size_t length) {
  return answer_instead(buffer, length) || os_listed_system_directory(buffer, length);
}

std::size_t executable_name(char* buffer, std::size_t size) noexcept {
  if (!executable_name_hidden.load(std::memory_order_relaxed)) {
    return os_executable_name(buffer, size);
  }
  buffer[0] = 0;
  return 0;
}

void set_system_directory(const qm_wchar* directory) noexcept {
  other_system_directory.store(directory, std::memory_order_release);
}

void hide_executable_name(bool hidden) noexcept {
  executable_name_hidden.store(hidden, std::memory_order_relaxed);
}

}  // namespace qmsd::platform
