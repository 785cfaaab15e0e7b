// The flavours of text at creation: recognised, decoded, or kept.
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantTextFlavours : public VariantTest {};

// ---- Narrow text that may be a number or a date-time -------------------------------------------

struct Recognition {
  const char* text;
  std::int32_t type;
  std::int32_t size;
  const qm_wchar* shown;
};

constexpr Recognition kRecognitions[] = {
    {"12", QM_TYPE_SIGNED, 4, QM_W("12")},
    {"-12", QM_TYPE_SIGNED, 4, QM_W("-12")},
    {"+7", QM_TYPE_SIGNED, 4, QM_W("7")},
    {" 7", QM_TYPE_SIGNED, 4, QM_W("7")},
    {"\t\n7", QM_TYPE_SIGNED, 4, QM_W("7")},
    {"0", QM_TYPE_SIGNED, 4, QM_W("0")},
    {"0x10", QM_TYPE_SIGNED, 4, QM_W("16")},
    {"0XfF", QM_TYPE_SIGNED, 4, QM_W("255")},
    {"010", QM_TYPE_SIGNED, 4, QM_W("8")},
    {"2147483646", QM_TYPE_SIGNED, 4, QM_W("2147483646")},
    {"2147483647", QM_TYPE_SIGNED, 8, QM_W("2147483647")},
    {"2147483648", QM_TYPE_SIGNED, 8, QM_W("2147483648")},
    {"-2147483647", QM_TYPE_SIGNED, 4, QM_W("-2147483647")},
    {"-2147483648", QM_TYPE_SIGNED, 8, QM_W("-2147483648")},
    {"9223372036854775806", QM_TYPE_SIGNED, 8, QM_W("9223372036854775806")},
    {"-9223372036854775807", QM_TYPE_SIGNED, 8, QM_W("-9223372036854775807")},
    {"16777217", QM_TYPE_SIGNED, 4, QM_W("16777217")},
    {"0.5", QM_TYPE_FLOATING, 4, QM_W("0.5")},
    {"-0.5", QM_TYPE_FLOATING, 4, QM_W("-0.5")},
    {".5", QM_TYPE_FLOATING, 4, QM_W("0.5")},
    {"0.1", QM_TYPE_FLOATING, 8, QM_W("0.1")},
    {"0.0", QM_TYPE_FLOATING, 4, QM_W("0")},
    {"08", QM_TYPE_FLOATING, 4, QM_W("8")},
    {"1e3", QM_TYPE_FLOATING, 4, QM_W("1000")},
    {"0x1p3", QM_TYPE_FLOATING, 4, QM_W("8")},
    {"2024-02-29", QM_TYPE_DATETIME, 8, QM_W("2024-02-29")},
    {"2024-02-29 13:05:09.123", QM_TYPE_DATETIME, 8, QM_W("2024-02-29 13:05:09.123")},
    {"13:05:09", QM_TYPE_DATETIME, 8, QM_W("13:05:09.000")},
};

constexpr const char* kPlain[] = {
    "",
    "abc",
    "12 ",
    "12x",
    "0x",
    "0,5",
    "inf",
    "nan",
    "1e400",
    "1e-320",
    "-",
    "+",
    " ",
    "1 2",
    "--1",
    "1.000000059604644775",
    "9223372036854775807",
    "-9223372036854775808",
    "99999999999999999999",
    "2024-02-29 ",
    "2024-13-01",
};

TEST_F(VariantTextFlavours, BecomeWhatTheyAreRecognisedAs) {
  for (const Recognition& expected : kRecognitions) {
    SCOPED_TRACE(expected.text);
    const std::string narrow = expected.text;
    for (qm_variant* variant :
         {text(narrow, 0, nullptr, QM_TYPE_TEXT_AUTO),
          wide_text(Text(narrow.begin(), narrow.end()), QM_TYPE_WIDE_TEXT_AUTO)}) {
      const qm_variant_info found = info(variant);
      EXPECT_EQ(found.type, expected.type);
      EXPECT_EQ(found.size, expected.size);
      EXPECT_EQ(found.nitems, 1);
      EXPECT_EQ(text_value(variant), expected.shown);
    }
  }
}

TEST_F(VariantTextFlavours, StayTextWhenNothingIsRecognised) {
  for (const std::string narrow : kPlain) {
    SCOPED_TRACE(narrow);
    const auto size = static_cast<std::int32_t>(narrow.size() + 1);
    const Text wide(narrow.begin(), narrow.end());
    qm_variant* plain = text(narrow, 0, nullptr, QM_TYPE_TEXT_AUTO);
    EXPECT_EQ(info(plain).type, QM_TYPE_TEXT);
    EXPECT_EQ(info(plain).size, size);
    EXPECT_EQ(text_value(plain), wide);
    qm_variant* plain_wide = wide_text(wide, QM_TYPE_WIDE_TEXT_AUTO);
    EXPECT_EQ(info(plain_wide).type, QM_TYPE_WIDE_TEXT);
    EXPECT_EQ(info(plain_wide).size, size);
    EXPECT_EQ(text_value(plain_wide), wide);
  }
}

TEST_F(VariantTextFlavours, AreRecognisedUpToTheFirstTerminator) {
  qm_variant* variant = text(std::string_view("42\0rest", 7), 0, nullptr, QM_TYPE_TEXT_AUTO);
  EXPECT_EQ(info(variant).type, QM_TYPE_SIGNED);
  EXPECT_EQ(value_of(variant), 42);
}

TEST_F(VariantTextFlavours, AreNoNumberWithOtherThanAsciiCharacters) {
  for (const Text& text :
       {Text(QM_W("1\x00B2")), Text(QM_W("\xFF11\xFF12")), Text(QM_W("\x0131"))}) {
    qm_variant* variant = wide_text(text, QM_TYPE_WIDE_TEXT_AUTO);
    EXPECT_EQ(info(variant).type, QM_TYPE_WIDE_TEXT);
    EXPECT_EQ(text_value(variant), text);
  }
}

// ---- UTF-8 -------------------------------------------------------------------------------------

TEST_F(VariantTextFlavours, AreDecodedWhenTheyAreUtf8) {
  struct {
    std::string bytes;
    Text units;
  } const texts[] = {
      {"", QM_W("")},
      {"ascii", QM_W("ascii")},
      {"12", QM_W("12")},
      {"\xC3\xA9", QM_W("\x00E9")},
      {"\xC2\x80", QM_W("\x0080")},
      {"\xDF\xBF", QM_W("\x07FF")},
      {"\xE0\xA0\x80", QM_W("\x0800")},
      {"\xED\x9F\xBF", QM_W("\xD7FF")},
      {"\xEE\x80\x80", QM_W("\xE000")},
      {"\xEF\xBF\xBF", QM_W("\xFFFF")},
      {"\xF0\x90\x80\x80", {0xD800, 0xDC00}},
      {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
      {"a\xE2\x82\xAC"
       "b",
       QM_W("a\x20AC"
            "b")},
      {std::string("a\0b", 3), {'a', 0, 'b'}},
  };
  for (const auto& expected : texts) {
    qm_variant* variant = text(expected.bytes, 0, nullptr, QM_TYPE_TEXT_UTF8);
    const qm_variant_info found = info(variant);
    EXPECT_EQ(found.type, QM_TYPE_WIDE_TEXT);
    EXPECT_EQ(found.size, static_cast<std::int32_t>(expected.units.size() + 1));
    const auto bytes = bytes_of(variant);
    ASSERT_EQ(bytes.size(), 2 * (expected.units.size() + 1));
    EXPECT_EQ(std::memcmp(bytes.data(), expected.units.c_str(), bytes.size()), 0);
  }
}

TEST_F(VariantTextFlavours, StayNarrowWhenTheyAreNoUtf8) {
  const std::string malformed[] = {
      "\xC3\x28",
      "\x80",
      "\xC3",
      "a\xE2\x82",
      "\xC0\x80",
      "\xC1\xBF",
      "\xE0\x9F\xBF",
      "\xED\xA0\x80",
      "\xED\xBF\xBF",
      "\xF0\x8F\xBF\xBF",
      "\xF4\x90\x80\x80",
      "\xF5\x80\x80\x80",
      "\xFF",
      "\xF8\x88\x80\x80\x80",
      std::string("ok\0\xFF", 4),
  };
  for (const std::string& bytes : malformed) {
    qm_variant* variant = text(bytes, 0, nullptr, QM_TYPE_TEXT_UTF8);
    const qm_variant_info found = info(variant);
    EXPECT_EQ(found.type, QM_TYPE_TEXT);
    EXPECT_EQ(found.size, static_cast<std::int32_t>(bytes.size() + 1));
    const auto stored = bytes_of(variant);
    EXPECT_EQ(std::string(stored.begin(), stored.end()), bytes + '\0');
  }
}

TEST_F(VariantTextFlavours, LeaveTheLastByteOutOfTheDecoding) {
  // The last byte becomes the terminator, so what it was does not matter.
  const char cut[] = {'a', '\xC3'};
  qm_variant* variant = make(QM_TYPE_TEXT_UTF8, 2, 1, cut);
  EXPECT_EQ(info(variant).type, QM_TYPE_WIDE_TEXT);
  EXPECT_EQ(text_value(variant), QM_W("a"));
}

TEST_F(VariantTextFlavours, KeepWideTextThatWasDecodedBefore) {
  const Text units = {'1', '2', 0xD800, 0x00E9};
  qm_variant* variant = wide_text(units, QM_TYPE_WIDE_TEXT_UTF8);
  EXPECT_EQ(info(variant).type, QM_TYPE_WIDE_TEXT);
  EXPECT_EQ(info(variant).size, 5);
  EXPECT_EQ(text_value(variant), units);
  EXPECT_EQ(info(wide_text(QM_W("12"), QM_TYPE_WIDE_TEXT_UTF8)).type, QM_TYPE_WIDE_TEXT);
}

}  // namespace
}  // namespace contract
