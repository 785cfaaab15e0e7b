// Variants where the host's locale has a decimal comma and its narrow text is not UTF-8.
#include <clocale>

#include "tests/contract/support/foreign_locale.h"
#include "tests/contract/support/guarded_target.h"
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantLocale : public VariantTest {
 protected:
  explicit VariantLocale(const LocaleNames& names) : locale_(names) {}

  // The host sets the whole locale again when the kernel has chosen, so that no category is "C".
  void SetUp() override {
    const ScopedVariable variable("LC_ALL", locale_.name());
    load_kernel();
    ASSERT_EQ(std::setlocale(LC_CTYPE, nullptr), locale_.name());
    ASSERT_EQ(kernel()(QM_CALL_NOP), 1);
    ASSERT_NE(std::setlocale(LC_ALL, locale_.name().c_str()), nullptr);
  }

  std::string narrow_value(qm_variant* source, std::int32_t type = QM_TYPE_TEXT,
                           std::int32_t capacity = 64) {
    GuardedTarget target;
    qm_variant_convert record{source, 0, type, capacity, 1, target.data(), capacity};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1)
        << testing::PrintToString(kernel().error());
    EXPECT_TRUE(target.untouched_from(static_cast<std::size_t>(capacity)));
    return target.text();
  }
  double floating_value(qm_variant* source) {
    double value = -1;
    qm_variant_convert record{source, 0, QM_TYPE_FLOATING, sizeof value, 1, &value, sizeof value};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    return value;
  }
  std::int32_t type_of(qm_variant* variant) { return info(variant).type; }
  // Null when the path leads nowhere.
  qm_variant* find(qm_variant* root, const char* path) {
    qm_variant_path_a record{root, path, nullptr};
    return kernel()(QM_CALL_VARIANTPATHA, &record) == 1 ? adopt(record.result) : nullptr;
  }

 private:
  ForeignLocale locale_;
};

class VariantGerman : public VariantLocale {
 protected:
  VariantGerman() : VariantLocale(kGerman) {}
  void SetUp() override {
    VariantLocale::SetUp();
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  }
};

TEST_F(VariantGerman, NumbersAreWrittenWithAPoint) {
  qm_variant* half = scalar(QM_TYPE_FLOATING, 0.5);
  EXPECT_EQ(narrow_value(half), "0.5");
  EXPECT_EQ(narrow_value(half, QM_TYPE_TEXT_UTF8), "0.5");
  EXPECT_EQ(text_value(half), QM_W("0.5"));
  EXPECT_EQ(narrow_value(scalar(QM_TYPE_FLOATING, 1e-20)), "1e-020");
  GuardedTarget target;
  qm_variant_array record{
      array<float>(QM_TYPE_FLOATING_ARRAY, {2.5f}), 64, QM_TYPE_TEXT, 0, 1, target.data(), 64};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTREADARRAY, &record), 1);
  EXPECT_STREQ(target.text(), "2.5");
}

TEST_F(VariantGerman, NumbersAreReadWithAPoint) {
  for (qm_variant* with_point : {text("1234.5"), wide_text(QM_W("1234.5"))}) {
    EXPECT_EQ(floating_value(with_point), 1234.5);
  }
  for (qm_variant* with_comma : {text("1234,5"), wide_text(QM_W("1234,5"))}) {
    EXPECT_EQ(floating_value(with_comma), 1234);
  }
}

TEST_F(VariantGerman, NumbersAreRecognisedWithAPoint) {
  EXPECT_EQ(type_of(text("0.5", 0, nullptr, QM_TYPE_TEXT_AUTO)), QM_TYPE_FLOATING);
  EXPECT_EQ(type_of(wide_text(QM_W("0.5"), QM_TYPE_WIDE_TEXT_AUTO)), QM_TYPE_FLOATING);
  EXPECT_EQ(type_of(text("0,5", 0, nullptr, QM_TYPE_TEXT_AUTO)), QM_TYPE_TEXT);
  EXPECT_EQ(type_of(wide_text(QM_W("0,5"), QM_TYPE_WIDE_TEXT_AUTO)), QM_TYPE_WIDE_TEXT);
}

TEST_F(VariantGerman, DateTimesReadAlikeInEveryLocale) {
  qm_variant* moment = text("2024-02-29 13:05:09.123", 0, nullptr, QM_TYPE_TEXT_AUTO);
  EXPECT_EQ(type_of(moment), QM_TYPE_DATETIME);
  EXPECT_EQ(narrow_value(moment), "2024-02-29 13:05:09.123");
}

TEST_F(VariantGerman, NarrowTextIsOfTheCodePage) {
  qm_variant* narrow = text("stra\xDF\x65");
  qm_variant* wide = wide_text(QM_W("stra\u00DFe"));
  for (qm_variant* street : {narrow, wide}) {
    EXPECT_EQ(narrow_value(street), "stra\xDF\x65");
    EXPECT_EQ(narrow_value(street, QM_TYPE_TEXT_UTF8), "stra\xC3\x9F\x65");
    EXPECT_EQ(text_value(street), QM_W("stra\u00DFe"));
  }
  EXPECT_EQ(narrow_value(wide_text(QM_W("a\u30C6b"))), "a") << "what has no narrow form ends it";
}

TEST_F(VariantGerman, NarrowTextThatIsNoUtf8StaysAsItIs) {
  qm_variant* street = text("stra\xDF\x65", 0, nullptr, QM_TYPE_TEXT_UTF8);
  EXPECT_EQ(type_of(street), QM_TYPE_TEXT);
  EXPECT_EQ(text_value(street), QM_W("stra\u00DFe"));
}

TEST_F(VariantGerman, LettersBeyondAsciiEndANumber) {
  EXPECT_EQ(value_of(text("12\xDF")), 12);
  EXPECT_EQ(value_of(wide_text(QM_W("12\u00DF"))), 12);
  EXPECT_EQ(type_of(text("12\xDF", 0, nullptr, QM_TYPE_TEXT_AUTO)), QM_TYPE_TEXT);
}

TEST_F(VariantGerman, NarrowPathsAreOfTheCodePage) {
  qm_variant* root = container();
  qm_variant* door = text("gr\xFCn", 0, QM_W("T\u00FCr"));
  append_item(root, integer(1, 0, QM_W("T")));
  append_item(root, door);
  EXPECT_EQ(find(root, "L,N=T\xFCr"), door);
  EXPECT_EQ(find(root, "L,V='gr\xFCn'"), door);
  EXPECT_EQ(find(root, "L,N=T\xC3\xBCr"), nullptr) << "its name in UTF-8";
}

TEST_F(VariantGerman, PathsCompareNumbersWithAPoint) {
  qm_variant* root = container();
  qm_variant* half = scalar(QM_TYPE_FLOATING, 0.5);
  append_item(root, half);
  EXPECT_EQ(find(root, "L,V='0.5'"), half);
  EXPECT_EQ(find(root, "L,V='0,5'"), nullptr);
}

// Two bytes to a character; the second may look like ASCII on Windows.
class VariantJapanese : public VariantLocale {
 protected:
  VariantJapanese() : VariantLocale(kJapanese) {}

#ifdef _WIN32
  static constexpr char kTe[] = "\x83\x65";
  static constexpr char kZe[] = "\x83\x5B";
#else
  static constexpr char kTe[] = "\xA5\xC6";
  static constexpr char kZe[] = "\xA5\xBC";
#endif
  const std::string two_ = std::string(kTe) + kZe;
};

TEST_F(VariantJapanese, TextConvertsBothWays) {
  for (qm_variant* text : {text(two_), wide_text(QM_W("\u30C6\u30BC"))}) {
    EXPECT_EQ(text_value(text), QM_W("\u30C6\u30BC"));
    EXPECT_EQ(narrow_value(text), two_);
    EXPECT_EQ(narrow_value(text, QM_TYPE_TEXT_UTF8), "\xE3\x83\x86\xE3\x82\xBC");
  }
}

TEST_F(VariantJapanese, TextIsNarrowedInWholeCharacters) {
  qm_variant* wide = wide_text(QM_W("\u30C6\u30BC"));
  const std::string expected[] = {"", "", kTe, kTe, two_};
  for (std::int32_t capacity = 1; capacity <= 5; ++capacity) {
    EXPECT_EQ(narrow_value(wide, QM_TYPE_TEXT, capacity), expected[capacity - 1]) << capacity;
  }
}

TEST_F(VariantJapanese, TextEndsBeforeHalfACharacter) {
  EXPECT_EQ(text_value(text(std::string("a") + kTe[0])), QM_W("a"));
}

TEST_F(VariantJapanese, NarrowPathsAreReadInWholeCharacters) {
  qm_variant* root = container();
  qm_variant* child = text(kTe, 0, QM_W("\u30BC"));
  append_item(root, child);
  EXPECT_EQ(find(root, (std::string("L,N=") + kZe).c_str()), child);
  EXPECT_EQ(find(root, (std::string("L,V='") + kTe + "'").c_str()), child);
  const std::string missing = std::string("L,N=") + kZe + "/" + kTe;
  qm_variant_path_a record{root, missing.c_str(), poisoned<qm_variant*>()};
  const Failure at_the_end{2, failure(2).message() + QM_W(" (pos=7)")};
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHA, record, at_the_end)) << "not bytes";
  const std::string half = std::string("L,N=") + kZe[0];
  record.path = half.c_str();
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHA, record, failure(12, "(mem or char coding)")));
}

}  // namespace
}  // namespace contract
