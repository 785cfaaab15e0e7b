// Runs one row of a format table through every formatter of the build, wide and narrow.
#pragma once

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/format.h"
#include "platform/format_portable.h"

namespace qmsd::platform {

template <class Char>
std::basic_string<Char> text_of(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

// Stands for text of the format's own kind, or of the other kind.
struct Own {
  std::string_view text;
};
struct Other {
  std::string_view text;
};

template <class Char>
using OtherKind = std::conditional_t<std::is_same_v<Char, char>, qm_wchar, char>;

// What is handed to the formatter for an argument of a row.
template <class Char, class T>
T prepare(T value) {
  return value;
}
template <class Char>
std::basic_string<Char> prepare(Own own) {
  return text_of<Char>(own.text);
}
template <class Char>
std::basic_string<OtherKind<Char>> prepare(Other other) {
  return text_of<OtherKind<Char>>(other.text);
}

template <class T>
T pass(const T& value) {
  return value;
}
template <class Char>
const Char* pass(const std::basic_string<Char>& text) {
  return text.c_str();
}

template <class Char>
using Formatting = int (*)(Char*, std::size_t, const Char*, va_list);

inline constexpr std::size_t kFormatGuard = 4;

// The buffer of a formatting, with a guard behind it.
template <class Char>
struct Formatted {
  std::basic_string<Char> buffer;
  std::size_t room;
  int result = 0;

  explicit Formatted(std::size_t size) : buffer(size + kFormatGuard, Char{'~'}), room(size) {}
  std::basic_string<Char> text() const { return buffer.c_str(); }
  bool guard_is_whole() const {
    return buffer.substr(room) == std::basic_string<Char>(kFormatGuard, Char{'~'});
  }
};

template <class Char>
Formatted<Char> format_into(Formatting<Char> formatting, std::size_t room, const Char* format,
                            ...) {
  Formatted<Char> formatted(room);
  va_list arguments;
  va_start(arguments, format);
  formatted.result = formatting(formatted.buffer.data(), room, format, arguments);
  va_end(arguments);
  return formatted;
}

template <class Char>
void expect_formatted(const char* formatter, Formatting<Char> formatting, std::size_t room,
                      const char* format, std::string_view expected, int result,
                      const auto&... arguments) {
  const Formatted<Char> formatted =
      format_into<Char>(formatting, room, text_of<Char>(format).c_str(), pass(arguments)...);
  const auto text = formatted.text();
  EXPECT_EQ(std::string(text.begin(), text.end()), expected) << formatter << ' ' << format;
  EXPECT_EQ(formatted.result, result) << formatter << ' ' << format;
  EXPECT_TRUE(formatted.guard_is_whole()) << formatter << ' ' << format;
}

// One row of a table: all formatters give `expected` and `result` in a buffer of `room` elements.
template <class... Arguments>
void expect_in(std::size_t room, const char* format, std::string_view expected, int result,
               Arguments... arguments) {
  expect_formatted<qm_wchar>("wide", &format_wide, room, format, expected, result,
                             prepare<qm_wchar>(arguments)...);
  expect_formatted<char>("narrow", &format_narrow, room, format, expected, result,
                         prepare<char>(arguments)...);
  expect_formatted<qm_wchar>("portable wide", &format_portable, room, format, expected, result,
                             prepare<qm_wchar>(arguments)...);
  expect_formatted<char>("portable narrow", &format_portable, room, format, expected, result,
                         prepare<char>(arguments)...);
}

// The same with room to spare.
template <class... Arguments>
void expect_format(const char* format, std::string_view expected, Arguments... arguments) {
  expect_in(600, format, expected, static_cast<int>(expected.size()), arguments...);
}

// The text is cut to what fits.
template <class... Arguments>
void expect_cut(std::size_t room, const char* format, std::string_view expected,
                Arguments... arguments) {
  expect_in(room, format, expected, -1, arguments...);
}

}  // namespace qmsd::platform
