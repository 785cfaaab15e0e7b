// Bounded conversion, copying and formatting.
#include "services/text/strings.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "platform/format.h"
#include "platform/multibyte.h"

namespace qmsd {
namespace {

constexpr std::size_t kUnbounded = SIZE_MAX;

struct Widen {
  using From = char;
  using To = qm_wchar;
  static auto character(std::string_view rest) {
    return platform::widen_character(rest.data(), rest.size());
  }
  static const To* result(const platform::WideCharacter& made) { return made.units; }
};

struct Narrow {
  using From = qm_wchar;
  using To = char;
  static auto character(WideView rest) {
    return platform::narrow_character(rest.data(), rest.size());
  }
  static const To* result(const platform::NarrowCharacter& made) { return made.bytes; }
};

struct Conversion {
  std::size_t made;  // elements, without a terminator
  bool whole;        // the text was converted to its end
};

// Converts the characters that have a counterpart and fit whole into `room` elements, up to the
// first that does not. Without a target it only measures. Writes no terminator.
template <class Direction>
Conversion convert(std::basic_string_view<typename Direction::From> text,
                   typename Direction::To* target, std::size_t room) {
  std::size_t made = 0;
  while (!text.empty()) {
    const auto next = Direction::character(text);
    if (next.taken == 0 || next.made > room - made) return {made, false};
    if (target != nullptr) std::copy_n(Direction::result(next), next.made, target + made);
    made += next.made;
    text.remove_prefix(next.taken);
  }
  return {made, true};
}

// Into a buffer of `length` elements, terminated.
template <class Direction>
std::size_t convert_bounded(typename Direction::To* buffer, std::ptrdiff_t length,
                            const typename Direction::From* text) {
  using View = std::basic_string_view<typename Direction::From>;
  if (buffer == nullptr || length < 1) return 0;
  const View view = text == nullptr ? View() : View(text);
  const std::size_t made =
      convert<Direction>(view, buffer, static_cast<std::size_t>(length) - 1).made;
  buffer[made] = 0;
  return made + 1;
}

// Length of a text that may go on beyond `limit` elements.
std::size_t bounded_length(const qm_wchar* text, std::size_t limit) {
  if (text == nullptr) return 0;
  std::size_t length = 0;
  while (length < limit && text[length] != 0) ++length;
  return length;
}

std::size_t limit_of(std::size_t room, std::ptrdiff_t count) {
  if (count == -1) return room;
  return count < 0 ? 0 : std::min(room, static_cast<std::size_t>(count));
}

}  // namespace

OwnedText wcs_dup_from_mbs(const char* text) {
  if (text == nullptr) return nullptr;
  const std::string_view view(text);
  OwnedText copy = platform::heap_array_zeroed<qm_wchar>(view.size() + 1);
  if (copy) convert<Widen>(view, copy.get(), view.size());
  return copy;
}

OwnedText wcs_from_mbs_alloc(const char* text) {
  const std::string_view view = text == nullptr ? std::string_view() : std::string_view(text);
  const Conversion size = convert<Widen>(view, nullptr, kUnbounded);
  if (text == nullptr || !size.whole) {
    errno = EINVAL;
    return nullptr;
  }
  OwnedText copy = platform::heap_array<qm_wchar>(size.made + 1);
  if (!copy) return copy;
  convert<Widen>(view, copy.get(), size.made);
  copy[size.made] = 0;
  return copy;
}

std::size_t mbs_to_wcs(qm_wchar* buffer, std::ptrdiff_t length, const char* text) {
  return convert_bounded<Widen>(buffer, length, text);
}

std::size_t wcs_to_mbs(char* buffer, std::ptrdiff_t size, const qm_wchar* text) {
  return convert_bounded<Narrow>(buffer, size, text);
}

std::optional<std::size_t> narrow_size(WideView text) {
  const Conversion size = convert<Narrow>(text, nullptr, kUnbounded);
  if (!size.whole) return std::nullopt;
  return size.made + 1;
}

qm_wchar* wcs_copy_bounded(qm_wchar* target, std::ptrdiff_t length, const qm_wchar* source,
                           std::ptrdiff_t count) {
  if (target == nullptr || length < 1) return target;
  const std::size_t limit = limit_of(static_cast<std::size_t>(length) - 1, count);
  const std::size_t copied = bounded_length(source, limit);
  std::char_traits<qm_wchar>::move(target, source, copied);
  target[copied] = 0;
  return target;
}

qm_wchar* wcs_append_bounded(qm_wchar* target, std::ptrdiff_t length, const qm_wchar* source,
                             std::ptrdiff_t count) {
  if (target == nullptr || length < 1) return target;
  const auto used =
      static_cast<std::ptrdiff_t>(bounded_length(target, static_cast<std::size_t>(length)));
  wcs_copy_bounded(target + used, length - used, source, count);
  return target;
}

int format_narrow(char* buffer, std::ptrdiff_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int written = format_narrow_list(buffer, size, format, arguments);
  va_end(arguments);
  return written;
}

int format_narrow_list(char* buffer, std::ptrdiff_t size, const char* format, va_list arguments) {
  if (buffer == nullptr || size < 1) return -1;
  return platform::format_narrow(buffer, static_cast<std::size_t>(size), format, arguments);
}

int format_wide(qm_wchar* buffer, std::ptrdiff_t length, const qm_wchar* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int written = format_wide_list(buffer, length, format, arguments);
  va_end(arguments);
  return written;
}

int format_wide_list(qm_wchar* buffer, std::ptrdiff_t length, const qm_wchar* format,
                     va_list arguments) {
  if (buffer == nullptr || length < 1) return -1;
  return platform::format_wide(buffer, static_cast<std::size_t>(length), format, arguments);
}

void text_result(qm_wchar* buffer, std::int32_t length, const qm_wchar* text) {
  if (buffer == nullptr || length < 1) return;
  wcs_copy_bounded(buffer, length, text);
  buffer[length - 1] = 0;
}

void text_result(char* buffer, std::int32_t size, const qm_wchar* text) {
  if (buffer == nullptr || size < 1) return;
  wcs_to_mbs(buffer, size, text);
  buffer[size - 1] = 0;
}

}  // namespace qmsd
