// Text in UTF-8 and UTF-16, and the argument type through which every function takes either.
#pragma once

#include <qmsd7.h>

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace qm {

/// The kernel's wide text: UTF-16, in std::wstring on Windows and std::u16string elsewhere.
using WideString = std::basic_string<qm_wchar>;
using WideView = std::basic_string_view<qm_wchar>;

namespace detail {

inline constexpr char32_t kReplacement = 0xFFFD;

struct Character {
  char32_t code;
  std::size_t units;  // of the source that it takes up, at least 1
};

// The first character of a text that is not empty. What is malformed is one U+FFFD.
constexpr Character first_of_utf8(std::string_view text) {
  const auto unit = [text](std::size_t at) -> char32_t {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
  };
  const char32_t lead = unit(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC2 || lead > 0xF4) return {kReplacement, 1};
  const std::size_t units = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  // The second unit is where overlong forms, surrogates and what lies beyond U+10FFFF show.
  char32_t lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  char32_t highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  char32_t code = lead & (0x7Fu >> units);
  for (std::size_t at = 1; at < units; ++at) {
    const char32_t next = unit(at);
    if (next < lowest || next > highest) return {kReplacement, at};
    code = code << 6 | (next & 0x3F);
    lowest = 0x80;
    highest = 0xBF;
  }
  return {code, units};
}

// The same of UTF-16, where a surrogate without its other half is malformed.
template <class Unit>
constexpr Character first_of_utf16(std::basic_string_view<Unit> text) {
  const auto lead = static_cast<char16_t>(text[0]);
  if (lead < 0xD800 || lead > 0xDFFF) return {lead, 1};
  const auto next = text.size() > 1 ? static_cast<char16_t>(text[1]) : char16_t{0};
  if (lead > 0xDBFF || next < 0xDC00 || next > 0xDFFF) return {kReplacement, 1};
  return {0x10000 + ((lead - char32_t{0xD800}) << 10 | (next - char32_t{0xDC00})), 2};
}

constexpr void append_utf8(std::string& text, char32_t code) {
  const auto put = [&text](char32_t unit) { text.push_back(static_cast<char>(unit)); };
  if (code < 0x80) return put(code);
  if (code < 0x800) {
    put(0xC0 | code >> 6);
  } else {
    put(code < 0x10000 ? 0xE0 | code >> 12 : 0xF0 | code >> 18);
    if (code >= 0x10000) put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
  }
  put(0x80 | (code & 0x3F));
}

template <class WideText>
constexpr void append_wide(WideText& text, char32_t code) {
  const auto put = [&text](char32_t unit) { text.push_back(static_cast<qm_wchar>(unit)); };
  if (code < 0x10000) return put(code);
  put(0xD800 + ((code - 0x10000) >> 10));
  put(0xDC00 + (code & 0x3FF));
}

template <class Source, class Unit>
concept TextOf = std::convertible_to<const Source&, std::basic_string_view<Unit>>;
// On Windows char16_t is a type beside the kernel's wide character.
template <class Source>
concept OtherWideText = TextOf<Source, char16_t> && !std::same_as<qm_wchar, char16_t>;

}  // namespace detail

/// UTF-8 of wide text. A surrogate without its other half becomes U+FFFD.
/// Owner: the result is a copy. Errors: std::bad_alloc. Threads: any.
///
///     check(qm::to_utf8(QM_W("caf\u00E9")) == "caf\xC3\xA9");
constexpr std::string to_utf8(WideView text) {
  std::string utf8;
  while (!text.empty()) {
    const auto [code, units] = detail::first_of_utf16(text);
    detail::append_utf8(utf8, code);
    text.remove_prefix(units);
  }
  return utf8;
}

/// Wide text of UTF-8. Each malformed sequence becomes U+FFFD.
/// Owner: the result is a copy. Errors: std::bad_alloc. Threads: any.
///
///     check(qm::to_wide("caf\xC3\xA9") == QM_W("caf\u00E9"));
constexpr WideString to_wide(std::string_view utf8) {
  WideString text;
  while (!utf8.empty()) {
    const auto [code, units] = detail::first_of_utf8(utf8);
    detail::append_wide(text, code);
    utf8.remove_prefix(units);
  }
  return text;
}

/// A text argument: made, without being asked, from UTF-8 (`char`, `char8_t`) or UTF-16
/// (`char16_t`, and `wchar_t` on Windows), literals, strings and views alike. It holds the wide
/// text that the kernel reads. UTF-16 is passed on unit by unit, single surrogates included. The
/// kernel reads up to the first zero.
/// Owner: of a copy of the text. Errors: std::bad_alloc. Threads: as a standard string.
///
///     const qm::Text name = "greeter";
///     check(name.view() == QM_W("greeter") && qm::Text(u"greeter").view() == name.view());
class Text {
 public:
  template <detail::TextOf<char> Source>
  Text(const Source& utf8) : wide_(to_wide(std::string_view(utf8))) {}

  template <detail::TextOf<char8_t> Source>
  Text(const Source& utf8) {
    const std::u8string_view text(utf8);
    wide_ = to_wide(std::string(text.begin(), text.end()));
  }

  template <detail::TextOf<qm_wchar> Source>
  Text(const Source& utf16) : wide_(WideView(utf16)) {}

  template <detail::OtherWideText Source>
  Text(const Source& utf16) {
    const std::u16string_view text(utf16);
    wide_.assign(text.begin(), text.end());
  }

  Text(WideString&& wide) noexcept : wide_(std::move(wide)) {}

  /// The wide text, ended by a zero; borrowed.
  /// Owner: this Text. Errors: none. Threads: any.
  ///
  ///     check(qm::Text("ab").c_str()[2] == 0);
  const qm_wchar* c_str() const noexcept { return wide_.c_str(); }
  WideView view() const noexcept { return wide_; }

 private:
  WideString wide_;
};

}  // namespace qm
