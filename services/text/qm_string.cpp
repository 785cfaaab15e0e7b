// The narrow dynamic string. All text enters through place(), which allows for a source inside the
// string's own buffer.
#include "services/text/qm_string.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/heap.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

constexpr std::uint32_t kMaximumCapacity = INT32_MAX;

// Converters report failure as one of the largest sizes, from here on.
constexpr std::size_t kFailedSize = 0xFFFFF000;

// Catches appending through a wild pointer, such as to a string in a record that was never made: no
// object lies in the lowest 64 KiB or starts exactly on a 16 MiB boundary.
bool is_wild(const qmString* object) {
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  return (address & 0x00FF'FFFF) == 0 || address < 0x1'0000;
}

std::optional<std::size_t> narrow_length(const qm_wchar* text) {
  const std::optional<std::size_t> size = narrow_size(view_of(text));
  if (!size || *size - 1 >= kFailedSize) return std::nullopt;
  return *size - 1;
}

std::string_view view_of_narrow(const char* text) { return text == nullptr ? "" : text; }

}  // namespace

qmString::~qmString() { platform::heap_free(buffer_); }

qmString::qmString(qmString&& from) noexcept
    : buffer_(std::exchange(from.buffer_, nullptr)),
      length_(std::exchange(from.length_, 0)),
      capacity_(std::exchange(from.capacity_, 0)) {}

qmString& qmString::operator=(qmString&& from) noexcept {
  std::swap(buffer_, from.buffer_);
  std::swap(length_, from.length_);
  std::swap(capacity_, from.capacity_);
  return *this;
}

const char* qmString::c_str() const { return buffer_ == nullptr ? "" : buffer_; }

bool qmString::assign(const char* text) { return place(0, view_of_narrow(text)); }

bool qmString::assign(const qm_wchar* text) { return place(0, text); }

bool qmString::append(const char* text) {
  if (is_wild(this)) return false;
  return is_empty(text) || place(length_, view_of_narrow(text));
}

bool qmString::append(const qm_wchar* text) {
  if (is_wild(this)) return false;
  return is_empty(text) || place(length_, text);
}

bool qmString::set_capacity(std::uint32_t bytes) {
  if (bytes == 0) {
    *this = qmString();
    return true;
  }
  if (bytes > kMaximumCapacity) {
    errno = ENOMEM;
    return false;
  }
  const auto wanted = static_cast<std::int32_t>(bytes);
  if (wanted - 1 < length_) cut(wanted - 1);
  void* grown = platform::heap_reallocate(buffer_, bytes);
  if (grown == nullptr) {
    platform::heap_free(buffer_);
    length_ = 0;
    errno = ENOMEM;
  }
  buffer_ = static_cast<char*>(grown);
  capacity_ = wanted;
  cut(length_);
  return buffer_ != nullptr;
}

bool qmString::reserve_length(std::uint32_t characters) {
  if (!make_room(characters)) return false;
  if (characters < static_cast<std::uint32_t>(length_)) cut(static_cast<std::int32_t>(characters));
  return true;
}

// An empty text needs no buffer. Without a buffer the capacity is meaningless.
bool qmString::make_room(std::uint64_t characters) {
  if (characters == 0) return true;
  if (buffer_ != nullptr && characters < static_cast<std::uint64_t>(capacity_)) return true;
  if (characters >= kMaximumCapacity) {
    errno = ENOMEM;
    return false;
  }
  return set_capacity(static_cast<std::uint32_t>(characters) + 1);
}

void qmString::cut(std::int32_t length) noexcept {
  length_ = length;
  if (buffer_ != nullptr) buffer_[length] = 0;
}

bool qmString::place(std::int32_t keep, std::string_view text) {
  const std::less<const char*> before;
  const bool own = buffer_ != nullptr && !before(text.data(), buffer_) &&
                   before(text.data(), buffer_ + capacity_);
  const std::ptrdiff_t offset = own ? text.data() - buffer_ : 0;
  if (!make_room(static_cast<std::uint64_t>(keep) + text.size())) return false;
  if (buffer_ != nullptr) {
    std::memmove(buffer_ + keep, own ? buffer_ + offset : text.data(), text.size());
  }
  cut(keep + static_cast<std::int32_t>(text.size()));
  return true;
}

bool qmString::place(std::int32_t keep, const qm_wchar* text) {
  const std::optional<std::size_t> length = narrow_length(text);
  if (!length || !make_room(static_cast<std::uint64_t>(keep) + *length)) return false;
  std::size_t written = 0;
  if (*length != 0) written = wcs_to_mbs(buffer_ + keep, capacity_ - keep, text) - 1;
  cut(keep + static_cast<std::int32_t>(written));
  return true;
}

}  // namespace qmsd
