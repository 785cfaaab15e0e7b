// Reading and listing the tree.
#include <clocale>

#include "tests/toolkit/property_test.h"

namespace toolkit_test {
namespace {

using PropertyRead = PropertyTest;
using PropertyList = PropertyTest;

constexpr const char* kTree = R"(
plain = "text"
empty = ""
multi = """two
lines"""
"with space" = "quoted key"
"" = "empty key"
wide = "gr\u00fc\u00dfe \u65e5 \U0001f600"

[numbers]
small = 42
negative = -7
hexadecimal = 0xff
half = 0.5
huge = 1e300
infinite = inf

[others]
yes = true
no = false
day = 1979-05-27
moment = 1979-05-27T07:32:00Z
array = [1, 2]

[a.b.c]
deep = "down"

[case]
Name = "upper"
name = "lower"
)";

TEST_F(PropertyRead, ValuesReadAsTheirText) {
  start(kTree);
  const struct {
    const qm_wchar* path;
    const qm_wchar* value;
  } cases[] = {
      {QM_W("/plain"), QM_W("text")},
      {QM_W("/empty"), QM_W("")},
      {QM_W("/multi"), QM_W("two\nlines")},
      {QM_W("/with space"), QM_W("quoted key")},
      {QM_W("/wide"), QM_W("gr\u00fc\u00dfe \u65e5 \U0001f600")},
      {QM_W("/numbers/small"), QM_W("42")},
      {QM_W("/numbers/negative"), QM_W("-7")},
      {QM_W("/numbers/hexadecimal"), QM_W("0xFF")},
      {QM_W("/numbers/half"), QM_W("0.5")},
      {QM_W("/numbers/huge"), QM_W("1e+300")},
      {QM_W("/numbers/infinite"), QM_W("inf")},
      {QM_W("/others/yes"), QM_W("true")},
      {QM_W("/others/no"), QM_W("false")},
      {QM_W("/others/day"), QM_W("1979-05-27")},
      {QM_W("/others/moment"), QM_W("1979-05-27T07:32:00Z")},
      {QM_W("/others/array"), QM_W("[1, 2]")},
      {QM_W("/a/b/c/deep"), QM_W("down")},
      {QM_W("/case/Name"), QM_W("upper")},
      {QM_W("/case/name"), QM_W("lower")},
  };
  for (const auto& one : cases) {
    const std::optional<Text> value = read(one.path);
    ASSERT_TRUE(value) << contract::printable(one.path) << ": " << reported().message;
    EXPECT_EQ(contract::printable(*value), contract::printable(one.value));
    EXPECT_EQ(reported().code, 0);
  }
}

TEST_F(PropertyRead, PathThatLeadsNowhereFails) {
  start(kTree);
  const struct {
    const qm_wchar* path;
    std::int32_t code;
    const char* message;
  } cases[] = {
      {QM_W("/missing"), 2, "[qmproperty] '/missing' does not exist"},
      {QM_W("/a/missing/c"), 2, "[qmproperty] '/a/missing/c' does not exist"},
      {QM_W("/plain/below"), 2, "[qmproperty] '/plain/below' does not exist"},
      {QM_W("/others/array/0"), 2, "[qmproperty] '/others/array/0' does not exist"},
      {QM_W("/PLAIN"), 2, "[qmproperty] '/PLAIN' does not exist"},
      {QM_W("/plain/"), 2, "[qmproperty] '/plain/' does not exist"},
      {QM_W("//plain"), 2, "[qmproperty] '//plain' does not exist"},
      {QM_W("/100%s%n"), 2, "[qmproperty] '/100%s%n' does not exist"},
      {QM_W("/a/b"), 2, "[qmproperty] '/a/b' is a node without a value"},
      {QM_W("/"), 2, "[qmproperty] '/' is a node without a value"},
      {QM_W("plain"), 22, "[qmproperty] 'plain' is no path: it has to begin with '/'"},
      {QM_W(""), 22, "[qmproperty] '' is no path: it has to begin with '/'"},
  };
  for (const auto& one : cases) {
    EXPECT_FALSE(read(one.path)) << contract::printable(one.path);
    EXPECT_EQ(reported().code, one.code);
    EXPECT_EQ(reported().message, one.message);
  }
}

TEST_F(PropertyRead, FailureLeavesTheBufferAlone) {
  start(kTree);
  qm_wchar buffer[] = QM_W("before");
  qm_property_text record{QM_W("/missing"), buffer, 7};
  EXPECT_EQ(call(QM_PROPERTY_READW, &record), 0);
  EXPECT_EQ(Text(buffer), QM_W("before"));
}

TEST_F(PropertyRead, LongValueIsCutAndTerminated) {
  start(kTree);
  const Text whole = QM_W("text");
  for (std::int32_t length = 1; length <= 6; ++length) {
    qm_wchar buffer[8];
    std::fill(std::begin(buffer), std::end(buffer), qm_wchar{0xA5A5});
    qm_property_text record{QM_W("/plain"), buffer, length};
    ASSERT_EQ(call(QM_PROPERTY_READW, &record), 1);
    EXPECT_EQ(Text(buffer), whole.substr(0, static_cast<std::size_t>(length) - 1));
    EXPECT_EQ(buffer[length], 0xA5A5) << "written behind the buffer of " << length;
  }
}

TEST_F(PropertyRead, CutNeverSplitsACharacter) {
  start(R"(pair = "\U0001f600!")");
  qm_wchar buffer[4];
  qm_property_text record{QM_W("/pair"), buffer, 2};
  ASSERT_EQ(call(QM_PROPERTY_READW, &record), 1);
  EXPECT_EQ(Text(buffer), QM_W(""));
  record.length = 3;
  ASSERT_EQ(call(QM_PROPERTY_READW, &record), 1);
  EXPECT_EQ(Text(buffer), QM_W("\U0001f600"));
}

TEST_F(PropertyRead, NarrowTwinSpeaksTheLocale) {
  start(
      "\"k\xc3\xa4se\" = \"s\xc3\xbc\xc3\x9f\"\nforeign = \"a\xe6\x97\xa5"
      "b\"\n");
  const contract::ScopedLocale restored;
  std::setlocale(LC_ALL, "C");
  char buffer[8] = "#######";
  qm_property_text_a record{"/k\xe4se", buffer, 4};
  ASSERT_EQ(call(QM_PROPERTY_READA, &record), 1) << reported().message;
  EXPECT_STREQ(buffer, "s\xfc\xdf");
  record.length = 3;
  ASSERT_EQ(call(QM_PROPERTY_READA, &record), 1);
  EXPECT_STREQ(buffer, "s\xfc");
  record = {"/foreign", buffer, 8};
  ASSERT_EQ(call(QM_PROPERTY_READA, &record), 1);
  EXPECT_STREQ(buffer, "a") << "ends before the first character that the locale has not";
}

#ifdef _WIN32
TEST_F(PropertyRead, NarrowTwinKnowsNoLookAlikes) {
  start("\"\xe2\x82\xac\" = \"5 \xe2\x82\xac, \xc4\x80\"\n");
  const contract::ScopedLocale restored;
  ASSERT_NE(std::setlocale(LC_ALL, "German_Germany.1252"), nullptr);
  char buffer[16];
  qm_property_text_a record{"/\x80", buffer, sizeof buffer};
  ASSERT_EQ(call(QM_PROPERTY_READA, &record), 1) << reported().message;
  EXPECT_STREQ(buffer, "5 \x80, ") << "the A with a bar must not become a plain A";
}
#else
TEST_F(PropertyRead, NarrowTwinConvertsWholeMultibyteCharacters) {
  start("\"k\xc3\xa4se\" = \"\xf0\x9f\x98\x80!\"\n");
  const contract::ScopedLocale restored;
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  char buffer[8];
  for (std::int32_t length = 1; length <= 6; ++length) {
    qm_property_text_a record{"/k\xc3\xa4se", buffer, length};
    ASSERT_EQ(call(QM_PROPERTY_READA, &record), 1) << reported().message;
    EXPECT_STREQ(buffer, length < 5 ? "" : length == 5 ? "\xf0\x9f\x98\x80" : "\xf0\x9f\x98\x80!");
  }
}
#endif

TEST_F(PropertyRead, MissingFileIsAnEmptyTree) {
  start(std::nullopt);
  EXPECT_EQ(list(QM_W("/")), QM_W(""));
  EXPECT_FALSE(read(QM_W("/plain")));
  EXPECT_EQ(reported().code, 2);
  EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(PropertyRead, FileMayBeginWithAByteOrderMark) {
  start("\xef\xbb\xbfkey = \"value\"\r\n");
  EXPECT_EQ(read(QM_W("/key")), QM_W("value"));
}

TEST_F(PropertyList, NamesComeSortedOnePerLine) {
  start(kTree);
  EXPECT_EQ(list(QM_W("/numbers")),
            QM_W("half\r\nhexadecimal\r\nhuge\r\ninfinite\r\nnegative\r\nsmall\r\n"));
  EXPECT_EQ(list(QM_W("/a")), QM_W("b\r\n"));
  EXPECT_EQ(list(QM_W("/case")), QM_W("Name\r\nname\r\n"));
}

TEST_F(PropertyList, RootIsASlash) {
  start("b = \"1\"\na = \"2\"\n");
  EXPECT_EQ(list(QM_W("/")), QM_W("a\r\nb\r\n"));
}

TEST_F(PropertyList, ValueHasNoChildren) {
  start(kTree);
  EXPECT_EQ(list(QM_W("/plain")), QM_W(""));
  EXPECT_EQ(list(QM_W("/others/array")), QM_W(""));
}

TEST_F(PropertyList, MissingNodeFails) {
  start(kTree);
  EXPECT_FALSE(list(QM_W("/missing")));
  EXPECT_EQ(reported().code, 2);
}

TEST_F(PropertyList, NamesThatNoPathReachesAreLeftOut) {
  start(R"("a/b" = "1"
"c\nd" = "2"
e = "3"
)");
  EXPECT_EQ(list(QM_W("/")), QM_W("e\r\n"));
}

TEST_F(PropertyList, NameThatDoesNotFitIsLeftOutWhole) {
  start("abc = \"1\"\nabcd = \"2\"\n");
  const struct {
    std::int32_t length;
    const qm_wchar* names;
  } cases[] = {{1, QM_W("")},
               {5, QM_W("")},
               {6, QM_W("abc\r\n")},
               {11, QM_W("abc\r\n")},
               {12, QM_W("abc\r\nabcd\r\n")}};
  for (const auto& one : cases) {
    qm_wchar buffer[12];
    qm_property_text record{QM_W("/"), buffer, one.length};
    ASSERT_EQ(call(QM_PROPERTY_LISTW, &record), 1);
    EXPECT_EQ(Text(buffer), one.names) << one.length;
  }
}

TEST_F(PropertyList, NarrowTwinLeavesOutWhatTheLocaleHasNot) {
  start("a = \"1\"\n\"\xe6\x97\xa5\" = \"2\"\nb = \"3\"\n");
  const contract::ScopedLocale restored;
  std::setlocale(LC_ALL, "C");
  char buffer[32];
  qm_property_text_a record{"/", buffer, sizeof buffer};
  ASSERT_EQ(call(QM_PROPERTY_LISTA, &record), 1);
  EXPECT_STREQ(buffer, "a\r\nb\r\n");
}

}  // namespace
}  // namespace toolkit_test
