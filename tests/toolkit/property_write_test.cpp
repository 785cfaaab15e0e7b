// Changing the tree and saving it.
#include <clocale>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/toolkit/property_test.h"

namespace toolkit_test {
namespace {

using PropertyWrite = PropertyTest;
using PropertyRemove = PropertyTest;
using PropertySave = PropertyTest;

constexpr const char* kTree = "# comment\nplain = \"text\"\nnumber = 42\n[a.b]\nc = \"down\"\n";

std::ptrdiff_t count_files(const std::filesystem::path& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST_F(PropertyWrite, ValueIsReadBack) {
  start(kTree);
  EXPECT_TRUE(write(QM_W("/plain"), QM_W("other")));
  EXPECT_TRUE(write(QM_W("/number"), QM_W("43")));
  EXPECT_TRUE(write(QM_W("/a/b/new"), QM_W("")));
  EXPECT_EQ(read(QM_W("/plain")), QM_W("other"));
  EXPECT_EQ(read(QM_W("/number")), QM_W("43"));
  EXPECT_EQ(read(QM_W("/a/b/new")), QM_W(""));
  EXPECT_EQ(read(QM_W("/a/b/c")), QM_W("down"));
}

TEST_F(PropertyWrite, MissingNodesAreMade) {
  start(std::nullopt);
  EXPECT_TRUE(write(QM_W("/x/y/z"), QM_W("1")));
  EXPECT_EQ(list(QM_W("/")), QM_W("x\r\n"));
  EXPECT_EQ(read(QM_W("/x/y/z")), QM_W("1"));
}

TEST_F(PropertyWrite, StaysInMemoryUntilSaved) {
  start(kTree);
  EXPECT_TRUE(write(QM_W("/plain"), QM_W("other")));
  EXPECT_EQ(content_of(file()), kTree);
}

TEST_F(PropertyWrite, RefusalChangesNothing) {
  start(kTree);
  Text deep;
  for (int i = 0; i <= QM_PROPERTY_MAX_DEPTH; ++i) deep += QM_W("/d");
  const struct {
    Text path;
    std::int32_t code;
    const char* message;
  } cases[] = {
      {QM_W("/"), 22, "the root cannot have a value"},
      {QM_W("plain"), 22, "'plain' is no path: it has to begin with '/'"},
      {QM_W("/a/b"), 22, "'/a/b' is a node: remove it first"},
      {QM_W("/plain/x"), 22, "'/plain/x' leads through a value"},
      {QM_W("/plain/x/y"), 22, "'/plain/x/y' leads through a value"},
      {deep, 34, nullptr},
  };
  for (const auto& one : cases) {
    EXPECT_FALSE(write(one.path, QM_W("1")));
    EXPECT_EQ(reported().code, one.code);
    if (one.message != nullptr) {
      EXPECT_EQ(reported().message, std::string("[qmproperty] ") + one.message);
    }
  }
  EXPECT_EQ(list(QM_W("/")), QM_W("a\r\nnumber\r\nplain\r\n"));
  EXPECT_EQ(read(QM_W("/plain")), QM_W("text"));
}

TEST_F(PropertyWrite, DeepestPathSurvivesTheFile) {
  start(std::nullopt);
  Text deep;
  for (int i = 0; i < QM_PROPERTY_MAX_DEPTH; ++i) deep += QM_W("/d");
  ASSERT_TRUE(write(deep, QM_W("bottom"))) << reported().message;
  ASSERT_TRUE(save()) << reported().message;
  start_again();
  EXPECT_EQ(read(deep), QM_W("bottom"));
}

TEST_F(PropertyWrite, NarrowTwinWritesTheSameTree) {
  start(std::nullopt);
  const contract::ScopedLocale restored;
  std::setlocale(LC_ALL, "C");
  qm_property_write_a record{"/k\xe4se", "s\xfc\xdf"};
  ASSERT_EQ(call(QM_PROPERTY_WRITEA, &record), 1);
  EXPECT_EQ(read(QM_W("/k\u00e4se")), QM_W("s\u00fc\u00df"));
  qm_property_remove_a gone{"/k\xe4se"};
  ASSERT_EQ(call(QM_PROPERTY_REMOVEA, &gone), 1);
  EXPECT_EQ(list(QM_W("/")), QM_W(""));
}

TEST_F(PropertyRemove, ValueGoes) {
  start(kTree);
  EXPECT_TRUE(remove(QM_W("/plain")));
  EXPECT_FALSE(read(QM_W("/plain")));
  EXPECT_EQ(list(QM_W("/")), QM_W("a\r\nnumber\r\n"));
}

TEST_F(PropertyRemove, NodeGoesWithAllBelowIt) {
  start(kTree);
  EXPECT_TRUE(remove(QM_W("/a")));
  EXPECT_FALSE(read(QM_W("/a/b/c")));
  EXPECT_FALSE(list(QM_W("/a")));
}

TEST_F(PropertyRemove, WhatIsNotThereCannotGo) {
  start(kTree);
  for (const qm_wchar* path : {QM_W("/missing"), QM_W("/a/missing"), QM_W("/plain/below")}) {
    EXPECT_FALSE(remove(path));
    EXPECT_EQ(reported().code, 2);
  }
  EXPECT_FALSE(remove(QM_W("/")));
  EXPECT_EQ(reported().code, 22);
}

TEST_F(PropertySave, NextStartReadsWhatWasSaved) {
  start(kTree);
  ASSERT_TRUE(write(QM_W("/a/b/new"), QM_W("saved")));
  ASSERT_TRUE(remove(QM_W("/plain")));
  ASSERT_TRUE(save()) << reported().message;
  start_again();
  EXPECT_EQ(read(QM_W("/a/b/new")), QM_W("saved"));
  EXPECT_EQ(read(QM_W("/a/b/c")), QM_W("down"));
  EXPECT_EQ(read(QM_W("/number")), QM_W("42"));
  EXPECT_FALSE(read(QM_W("/plain")));
}

TEST_F(PropertySave, ValuesNobodyWroteKeepTheirKind) {
  start(kTree);
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("1")));
  ASSERT_TRUE(save());
  EXPECT_NE(content_of(file()).find("number = 42\n"), std::string::npos) << content_of(file());
}

TEST_F(PropertySave, EveryTextSurvivesTheFile) {
  start(std::nullopt);
  const Text texts[] = {
      QM_W(""),
      QM_W("\""),
      QM_W("'"),
      QM_W("'''\"\"\""),
      QM_W("\\n"),
      QM_W("a\nb"),
      QM_W("a\r\nb\r"),
      QM_W("\ttab\t"),
      QM_W("\x01\x1f\x7f"),
      QM_W("\u0085\u2028"),
      QM_W("\ufeff"),
      QM_W("\uffff"),
      QM_W("\U0001f600"),
      QM_W("C:\\x\\'y'"),
      QM_W("# no [x]"),
      QM_W(" blanks "),
      QM_W("a'\n\"b\"'"),
      QM_W("\n"),
      QM_W("a\\"),
      QM_W("1979-05-27"),
  };
  for (std::size_t i = 0; i < std::size(texts); ++i) {
    const Text name = QM_W("/values/") + Text(1, static_cast<qm_wchar>(QM_W('A') + i));
    ASSERT_TRUE(write(name, texts[i]));
  }
  for (const Text& key : {Text(QM_W("a b")), Text(QM_W("\"'")), Text(QM_W("x.y")),
                          Text(QM_W("\u65e5")), Text(QM_W("\x01")), Text()}) {
    ASSERT_TRUE(write(QM_W("/keys/") + key, QM_W("k")));
  }
  ASSERT_TRUE(save()) << reported().message;
  start_again();
  for (std::size_t i = 0; i < std::size(texts); ++i) {
    const Text name = QM_W("/values/") + Text(1, static_cast<qm_wchar>(QM_W('A') + i));
    EXPECT_EQ(read(name), texts[i]) << i << "\n" << content_of(file());
  }
  for (const qm_wchar* key :
       {QM_W("a b"), QM_W("\"'"), QM_W("x.y"), QM_W("\u65e5"), QM_W("\x01"), QM_W("")}) {
    EXPECT_EQ(read(QM_W("/keys/") + Text(key)), QM_W("k")) << contract::printable(key);
  }
}

// Whatever a file holds is the same after a save; the second save writes the same bytes.
TEST_F(PropertySave, EveryKindOfValueSurvivesTheFile) {
  start(R"(integers = [1, -2, 0xFF, 0o17, 0b101, 9223372036854775807]
floats = [0.1, -1.5e-300, 1e22, inf, -inf, nan, 5.0]
times = [1979-05-27, 07:32:00.123456, 1979-05-27T07:32:00, 1979-05-27T07:32:00.5-08:00]
texts = ["\nfirst", "'", "\u0001", ""]
mixed = [true, [1, ["deep"]], { "'a" = 1, b = { c = "\n" }, d = {} }, []]
empty = []
inline = { x = 1 }
[[list]]
name = "one"
[[list]]
name = "two"
[list.below]
[lonely]
["a.b"."c d".'e"']
f = 1
)");
  const qm_wchar* const paths[] = {
      QM_W("/integers"), QM_W("/floats"),   QM_W("/times"), QM_W("/texts"),
      QM_W("/mixed"),    QM_W("/inline/x"), QM_W("/list"),  QM_W("/a.b/c d/e\"/f"),
  };
  std::vector<Text> before;
  for (const qm_wchar* path : paths) {
    ASSERT_TRUE(read(path)) << contract::printable(path);
    before.push_back(*read(path));
  }
  ASSERT_TRUE(write(QM_W("/added"), QM_W("1")));
  ASSERT_TRUE(save()) << reported().message;
  const std::string saved = content_of(file());
  start_again();
  for (std::size_t i = 0; i < std::size(paths); ++i) {
    EXPECT_EQ(contract::printable(read(paths[i]).value_or(QM_W("missing"))),
              contract::printable(before[i]));
  }
  EXPECT_EQ(list(QM_W("/lonely")), QM_W(""));
  ASSERT_TRUE(write(QM_W("/added"), QM_W("1")));
  ASSERT_TRUE(save());
  EXPECT_EQ(content_of(file()), saved);
}

TEST_F(PropertySave, LoneSurrogateIsReplaced) {
  start(std::nullopt);
  ASSERT_TRUE(write(QM_W("/x"), Text{QM_W('a'), 0xD800, QM_W('b'), 0xDC00}));
  ASSERT_TRUE(save()) << reported().message;
  EXPECT_EQ(read(QM_W("/x")), QM_W("a\ufffdb\ufffd"));
}

TEST_F(PropertySave, WithoutChangesTheFileIsLeftAlone) {
  start(kTree);
  ASSERT_TRUE(read(QM_W("/plain")));
  EXPECT_TRUE(save());
  EXPECT_EQ(content_of(file()), kTree);
}

TEST_F(PropertySave, WhatWasRefusedIsNoChange) {
  start(kTree);
  EXPECT_FALSE(write(QM_W("/a/b"), QM_W("a node")));
  EXPECT_FALSE(remove(QM_W("/missing")));
  EXPECT_TRUE(save());
  EXPECT_EQ(content_of(file()), kTree) << "the comment is still there";
}

TEST_F(PropertySave, RemovalIsAChange) {
  start(kTree);
  ASSERT_TRUE(remove(QM_W("/plain")));
  ASSERT_TRUE(save());
  start_again();
  EXPECT_EQ(list(QM_W("/")), QM_W("a\r\nnumber\r\n"));
}

TEST_F(PropertySave, WhatIsSavedIsNotSavedAgain) {
  start(kTree);
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("1")));
  ASSERT_TRUE(save());
  set_content(file(), "edited = \"by hand\"\n");
  EXPECT_TRUE(save());
  EXPECT_EQ(content_of(file()), "edited = \"by hand\"\n");
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("2")));
  EXPECT_TRUE(save());
  EXPECT_NE(content_of(file()).find("plain = \"2\""), std::string::npos);
}

TEST_F(PropertySave, NothingIsLeftBesideTheFile) {
  start(kTree);
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("1")));
  ASSERT_TRUE(save());
  EXPECT_EQ(count_files(folder().path()), 2) << "the library and its file";
}

// The new content comes in one step: whoever has the old file open still sees all of it.
#ifndef _WIN32
TEST_F(PropertySave, ReaderOfTheOldFileKeepsIt) {
  start(kTree);
  std::ifstream reader(file(), std::ios::binary);
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("1")));
  ASSERT_TRUE(save());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), kTree);
  EXPECT_NE(content_of(file()), kTree);
}

TEST_F(PropertySave, FileKeepsItsPermissions) {
  start(kTree);
  const auto permissions = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  std::filesystem::permissions(file(), permissions);
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("1")));
  ASSERT_TRUE(save());
  EXPECT_EQ(std::filesystem::status(file()).permissions(), permissions);
}
#endif

TEST_F(PropertySave, FailureIsReportedAndCanBeTriedAgain) {
  start(kTree);
  ASSERT_TRUE(write(QM_W("/plain"), QM_W("1")));
  std::filesystem::remove(file());
  std::filesystem::create_directory(file());  // cannot be replaced by a file
  EXPECT_FALSE(save());
  EXPECT_NE(reported().code, 0);
  EXPECT_NE(reported().message.find("qmproperty.toml cannot be written (system error"),
            std::string::npos)
      << reported().message;
  EXPECT_TRUE(std::filesystem::is_directory(file()));
  EXPECT_EQ(count_files(folder().path()), 2) << "a failed save left something behind";
  std::filesystem::remove(file());
  EXPECT_TRUE(save()) << reported().message;
  start_again();
  EXPECT_EQ(read(QM_W("/plain")), QM_W("1"));
}

}  // namespace
}  // namespace toolkit_test
