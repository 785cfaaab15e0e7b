#include "platform/environment.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/heap.h"
#include "platform/linux/utf8.h"

namespace qmsd::platform {
namespace {

bool copy_value(const char* value, qm_wchar* buffer, std::size_t length) {
  return widen_utf8(value, buffer, length);
}

bool copy_value(const char* value, char* buffer, std::size_t size) {
  const std::size_t length = std::strlen(value);
  if (length >= size) return false;
  std::memcpy(buffer, value, length + 1);
  return true;
}

template <class Char>
Variable read(const char* name, Char* buffer, std::size_t length) {
  buffer[0] = 0;
  const char* value = std::getenv(name);
  if (value == nullptr) return Variable::missing;
  if (copy_value(value, buffer, length)) return Variable::present;
  buffer[0] = 0;
  return Variable::too_long;
}

using WideView = std::basic_string_view<qm_wchar>;

// Null for a variable that does not exist.
const char* value_of(WideView name) {
  constexpr std::size_t kNameLength = 256;
  qm_wchar terminated[kNameLength] = {};
  char narrow[4 * kNameLength];
  if (name.empty() || name.size() >= kNameLength) return nullptr;
  name.copy(terminated, name.size());
  return narrow_utf8(terminated, narrow, sizeof narrow) ? std::getenv(narrow) : nullptr;
}

// Writes what fits and counts the rest.
class Expansion {
 public:
  Expansion(qm_wchar* buffer, std::size_t room) : buffer_(buffer), room_(room) {}

  void append(WideView text) {
    if (length_ < room_) text.copy(buffer_ + length_, room_ - length_);
    length_ += text.size();
  }
  // False when memory is exhausted.
  bool append_value(const char* value) {
    const std::size_t room = std::strlen(value) + 1;
    const auto wide = heap_array<qm_wchar>(room);
    if (!wide) return false;
    widen_utf8(value, wide.get(), room);
    append(WideView(wide.get()));
    return true;
  }
  std::size_t length() const { return length_; }

 private:
  qm_wchar* buffer_;
  std::size_t room_;
  std::size_t length_ = 0;
};

}  // namespace

Variable read_variable(const char* name, qm_wchar* buffer, std::size_t length) {
  return read(name, buffer, length);
}

Variable read_variable(const char* name, char* buffer, std::size_t size) {
  return read(name, buffer, size);
}

std::size_t expand_variables(const qm_wchar* text, qm_wchar* buffer, std::size_t length) {
  Expansion result(buffer, length);
  WideView rest(text);
  while (!rest.empty()) {
    const std::size_t begin = std::min(rest.find(u'%'), rest.size());
    result.append(rest.substr(0, begin));
    rest.remove_prefix(begin);
    const std::size_t end = rest.find(u'%', 1);
    if (end == WideView::npos) {
      result.append(rest);
      break;
    }
    // The second sign of an unknown name belongs to it and begins no other.
    const char* value = value_of(rest.substr(1, end - 1));
    if (value == nullptr) {
      result.append(rest.substr(0, end + 1));
    } else if (!result.append_value(value)) {
      return 0;
    }
    rest.remove_prefix(end + 1);
  }
  result.append(WideView(QM_W("\0"), 1));
  return result.length();
}

}  // namespace qmsd::platform
