// UTF-8, UTF-16 and the argument that takes either.
#include <qm/text.hpp>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace client_test {
namespace {

using qm::to_utf8;
using qm::to_wide;

struct Pair {
  std::string_view utf8;
  qm::WideView wide;
};

constexpr Pair kPairs[] = {
    {"", QM_W("")},
    {"plain", QM_W("plain")},
    {"\x7F\xC2\x80\xDF\xBF", QM_W("\x7F\u0080\u07FF")},
    {"\xE0\xA0\x80\xED\x9F\xBF", QM_W("\u0800\uD7FF")},
    {"\xEE\x80\x80\xEF\xBF\xBF", QM_W("\uE000\uFFFF")},
    {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", QM_W("\U00010000\U0010FFFF")},
};

TEST(ClientText, GoesBothWaysUnchanged) {
  for (const Pair& pair : kPairs) {
    EXPECT_EQ(to_wide(pair.utf8), pair.wide) << pair.utf8;
    EXPECT_EQ(to_utf8(pair.wide), pair.utf8);
  }
}

TEST(ClientText, EveryCharacterComesBack) {
  for (char32_t code = 1; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    std::string utf8;
    qm::detail::append_utf8(utf8, code);
    ASSERT_EQ(to_utf8(to_wide(utf8)), utf8) << std::hex << static_cast<unsigned>(code);
  }
}

constexpr Pair kMalformed[] = {
    {"a\x80z", QM_W("a\uFFFDz")},                  // continued, but not begun
    {"a\xC3", QM_W("a\uFFFD")},                    // begun, but not continued
    {"\xC3z", QM_W("\uFFFDz")},                    //
    {"\xE2\x82z", QM_W("\uFFFDz")},                // cut
    {"\xF0\x9F\x98", QM_W("\uFFFD")},              //
    {"\xC0\x80", QM_W("\uFFFD\uFFFD")},            // longer than need be
    {"\xE0\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD")},  //
    {"\xF0\x8F\xBF\xBF", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},
    {"\xED\xA0\x80", QM_W("\uFFFD\uFFFD\uFFFD")},            // a surrogate
    {"\xF4\x90\x80\x80", QM_W("\uFFFD\uFFFD\uFFFD\uFFFD")},  // beyond the last character
    {"\xFF\xFE", QM_W("\uFFFD\uFFFD")},
};

TEST(ClientText, MalformedUtf8IsReplaced) {
  for (const Pair& pair : kMalformed) {
    EXPECT_EQ(to_wide(pair.utf8), pair.wide) << testing::PrintToString(pair.utf8);
  }
}

TEST(ClientText, HalfASurrogatePairIsReplaced) {
  const qm_wchar high[] = {0xD83D};
  const qm_wchar low[] = {0xDE00};
  const qm_wchar both[] = {0xD83D, 0xDE00};
  const qm_wchar swapped[] = {0xDE00, 0xD83D, 'z'};
  const qm_wchar twice[] = {0xD83D, 0xD83D, 0xDE00};
  const auto view = [](const auto& units) { return qm::WideView(units, std::size(units)); };
  EXPECT_EQ(to_utf8(view(high)), "\xEF\xBF\xBD");
  EXPECT_EQ(to_utf8(view(low)), "\xEF\xBF\xBD");
  EXPECT_EQ(to_utf8(view(both)), "\xF0\x9F\x98\x80");
  EXPECT_EQ(to_utf8(view(swapped)), "\xEF\xBF\xBD\xEF\xBF\xBDz");
  EXPECT_EQ(to_utf8(view(twice)), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(ClientText, ArgumentsAreMadeOfEveryKindOfText) {
  const std::string narrow = "caf\xC3\xA9";
  const std::u8string narrow8 = u8"caf\u00E9";
  const std::u16string wide16 = u"caf\u00E9";
  const qm::WideString wide = QM_W("caf\u00E9");
  const qm::Text texts[] = {narrow,
                            std::string_view(narrow),
                            narrow.c_str(),
                            "caf\xC3\xA9",
                            narrow8,
                            std::u8string_view(narrow8),
                            narrow8.c_str(),
                            u8"caf\u00E9",
                            wide16,
                            std::u16string_view(wide16),
                            wide16.c_str(),
                            u"caf\u00E9",
                            wide,
                            qm::WideView(wide),
                            wide.c_str(),
                            QM_W("caf\u00E9"),
                            qm::WideString(wide)};
  for (const qm::Text& text : texts) {
    EXPECT_EQ(text.view(), wide);
    EXPECT_EQ(text.c_str()[4], 0);
  }
}

TEST(ClientText, ArgumentsKeepEveryUnitOfUtf16) {
  const char16_t units[] = {'a', 0xD83D, 'b', 0xDE00, 0};
  const qm::Text text(units);
  ASSERT_EQ(text.view().size(), 4u);
  for (std::size_t at = 0; at < 4; ++at) {
    EXPECT_EQ(static_cast<char16_t>(text.view()[at]), units[at]);
  }
}

}  // namespace
}  // namespace client_test
