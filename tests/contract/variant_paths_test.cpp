// Paths: what each step selects, what is no path, and how failures tell where.
#include <climits>
#include <clocale>
#include <cstring>
#include <string>
#include <utility>

#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantPaths : public VariantTest {
 protected:
  // A root with, each as attribute and as item (name, id, value):
  //   0 Length 7 "abc"    1 a 7 5    2 a 8 6    3 "two words" 9 "red"    4 kids -: a container
  //   5 C1 10 "red"       6 "k[2]" 11 0.5       7 (no name) 12 a container with an attribute "x"
  // `kids` holds three numbers 100, 101, 102 and a container "deep" with one number 7.
  void SetUp() override {
    VariantTest::SetUp();
    root_ = container();
    kids_ = container(0, QM_W("kids"));
    for (std::int32_t value = 100; value < 103; ++value) append_item(kids_, integer(value, value));
    qm_variant* deep = container(50, QM_W("deep"));
    append_item(deep, integer(7));
    append_item(kids_, deep);
    qm_variant* unnamed = container(12);
    append_attribute(unnamed, integer(77, 0, QM_W("x")));
    children_ = {text("abc", 7, QM_W("Length")),
                 integer(5, 7, QM_W("a")),
                 integer(6, 8, QM_W("a")),
                 text("red", 9, QM_W("two words")),
                 kids_,
                 text("red", 10, QM_W("C1")),
                 scalar(QM_TYPE_FLOATING, 0.5, 11, QM_W("k[2]")),
                 unnamed};
    for (qm_variant* child : children_) {
      append_attribute(root_, child);
      append_item(root_, child);
    }
  }

  // What both codes find, without a reference for the test; null when they refuse.
  qm_variant* find(const std::string& path) {
    qm_variant* found[2];
    const Text wide(path.begin(), path.end());
    qm_variant_path_w request{root_, wide.c_str(), nullptr};
    qm_variant_path_a narrow{root_, path.c_str(), nullptr};
    const bool is_found = kernel()(QM_CALL_VARIANTPATHW, &request) == 1;
    EXPECT_EQ(kernel()(QM_CALL_VARIANTPATHA, &narrow) == 1, is_found);
    found[0] = request.result;
    found[1] = narrow.result;
    EXPECT_EQ(found[0], found[1]) << "both codes find the same";
    if (!is_found) return nullptr;
    kernel()(QM_CALL_VARIANTRELEASE, found[0]);
    kernel()(QM_CALL_VARIANTRELEASE, found[1]);
    return found[0];
  }
  // The message repeats the first one and adds the position.
  Failure failure_at(std::int32_t code, const char* condition, int position) {
    const Failure first = condition == nullptr ? failure(code) : failure(code, "%s", condition);
    const Text message = first.message();
    return {code, message + text_of(" (pos=%d)", position)};
  }
  void expect_refused(const std::string& path, const Failure& expected) {
    SCOPED_TRACE(path);
    const Text wide(path.begin(), path.end());
    qm_variant_path_w request{root_, wide.c_str(), poisoned<qm_variant*>()};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHW, request, expected));
    qm_variant_path_a narrow{root_, path.c_str(), poisoned<qm_variant*>()};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHA, narrow, expected));
    std::int32_t value = 9;
    qm_variant_path_value_w read{root_, wide.c_str(), -1, QM_TYPE_SIGNED, 4, 1, &value, 4};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHVALUEW, read, expected));
    qm_variant_path_value_a read_narrow{root_, path.c_str(), -1, QM_TYPE_SIGNED, 4, 1, &value, 4};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHVALUEA, read_narrow, expected));
    EXPECT_EQ(value, 9);
  }

  qm_variant* root_ = nullptr;
  qm_variant* kids_ = nullptr;
  std::vector<qm_variant*> children_;
};

// ---- What a step finds -------------------------------------------------------------------------

struct Finding {
  const char* path;
  int child;  // of the root
};

constexpr Finding kFindings[] = {
    // names
    {"a", 1},
    {"Length", 0},
    {"C1", 5},
    {"  a", 1},
    {"a/", 1},
    {"N=a", 1},
    {"N='a'", 1},
    {"N=\"a\"", 1},
    {"N='two words'", 3},
    {"N=\"two words\"", 3},
    {"  N='two words'", 3},
    {"N='k[2]'", 6},
    {"C,N=a", 1},
    {"L,N=a", 1},
    {"N=a,L", 1},
    {"a,L", 1},
    {"a, L", 1},
    {"a,C", 1},
    {"Length,X=0", 0},
    {"a,X=1", 2},
    {"N=a,X=1", 2},
    {"X=1,N=a", 2},
    {"L,N=a,X=1", 2},
    // positions
    {"C", 0},
    {"L", 0},
    {"[0]", 0},
    {"[2]", 2},
    {"[ 2 ]", 2},
    {"[+2]", 2},
    {"[0x2]", 2},
    {"[0X2]", 2},
    {"[02]", 2},
    {"[07]", 7},
    {"X=3", 3},
    {"C,X=3", 3},
    {"L,X=3", 3},
    {"L, X=3", 3},
    {"L,X=0x3", 3},
    // ids
    {"D=8", 2},
    {"D=010", 2},
    {"D=0xA", 5},
    {"D=7", 0},
    {"D=7,X=1", 1},
    {"L,D=7,X=1", 1},
    // values
    {"V=5", 1},
    {"V=6", 2},
    {"L,V=6", 2},
    {"V='red'", 3},
    {"V=\"red\"", 3},
    {"V='red',X=1", 5},
    {"L,V='red',X=1", 5},
    {"V='5'", 1},
    {"V='0.5'", 6},
    {"V=0", 0},      // a text that is no number reads as 0
    {"V=0,X=1", 3},  // the other such texts, and 0.5
    {"V=0,X=2", 5},
    {"V=0,X=3", 6},
    {"D=7,V=5", 1},
    {"D=7,V='abc'", 0},
    {"a,V=6", 2},
    {"N=a,V=6", 2},
    {"V=6,N=a", 2},
    {"V=0x6", 2},
    {"V=+6", 2},
};

TEST_F(VariantPaths, SelectChildren) {
  for (const Finding& finding : kFindings) {
    SCOPED_TRACE(finding.path);
    EXPECT_EQ(find(finding.path), children_[static_cast<std::size_t>(finding.child)]);
  }
}

TEST_F(VariantPaths, WithoutStepsAreTheRoot) {
  EXPECT_EQ(find(""), root_);
  qm_variant_path_w request{root_, QM_W(""), nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTPATHW, &request), 1);
  EXPECT_EQ(references(root_), 2);
  kernel()(QM_CALL_VARIANTRELEASE, root_);
  EXPECT_EQ(references(root_), 1);
}

TEST_F(VariantPaths, GoDown) {
  struct {
    const char* path;
    std::int64_t value;
  } const all[] = {
      {"kids[2]", 102},      {"kids/[2]", 102},        {"N=kids[2]", 102},
      {"N='kids'/[1]", 101}, {"[4]/[0]", 100},         {"L,N=kids/L,D=101", 101},
      {"kids[3]/[0]", 7},    {"kids/L,N=deep/[0]", 7}, {"kids/[3]/[0]/", 7},
      {"[7]/x", 77},         {"D=12/x", 77},           {"kids/ [1]", 101},
      {"kids/  L,X=1", 101}, {"kids/V=101,L", 101},    {"kids/L,V=102", 102},
  };
  for (const auto& expected : all) {
    SCOPED_TRACE(expected.path);
    qm_variant* found = find(expected.path);
    ASSERT_NE(found, nullptr) << testing::PrintToString(kernel().error());
    EXPECT_EQ(value_of(found), expected.value);
  }
}

TEST_F(VariantPaths, TakeFieldLettersForNamesWhereNoFieldBegins) {
  const qm_wchar* names[] = {QM_W("Lx"), QM_W("Cx"), QM_W("D"),    QM_W("N"),
                             QM_W("V"),  QM_W("X"),  QM_W("Data"), QM_W("d=7")};
  for (const qm_wchar* name : names) {
    qm_variant* child = integer(1, 0, name);
    append_attribute(root_, child);
    EXPECT_EQ(find(std::string(name, name + std::char_traits<qm_wchar>::length(name))), child);
  }
}

TEST_F(VariantPaths, TellAnEmptyNameFromNone) {
  qm_variant* empty_name = integer(1, 0, QM_W(""));
  append_attribute(root_, empty_name);
  EXPECT_EQ(find("N=''"), empty_name);
  EXPECT_EQ(find("N=\"\""), empty_name);
}

TEST_F(VariantPaths, CompareOtherThanAsciiCharacters) {
  const qm_wchar name[] = {0x00E9, 0xD83D, 0xDE00, 0};
  qm_variant* child = integer(1, 0, name);
  append_attribute(root_, child);
  qm_variant_path_w request{root_, name, nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTPATHW, &request), 1);
  EXPECT_EQ(adopt(request.result), child);
}

TEST_F(VariantPaths, DoNotMatchAValueByItsBeginning) {
  append_attribute(root_, text("abcdefghijklmnopqrstuvwxyz", 99));
  expect_refused("V='abcdefghij'", failure_at(2, nullptr, 14));
  EXPECT_NE(find("V='abcdefghijklmnopqrstuvwxyz'"), nullptr);
}

TEST_F(VariantPaths, DoNotMatchAValueWithoutWidthByWhatWasReadBefore) {
  qm_variant* holder = integer(0);
  append_attribute(holder, text("red"));
  append_attribute(holder, make(QM_TYPE_SIGNED, 0, 0, nullptr));
  root_ = holder;
  EXPECT_EQ(find("V='red'"), attributes(holder)[0]);
  expect_refused("V='red',X=1", failure_at(2, nullptr, 11));
}

TEST_F(VariantPaths, LeaveTheErrorStateWhenTheyFind) {
  const Error planted = kernel().plant_error();
  EXPECT_EQ(find("V='0.5'"), children_[6]) << "passing a container on the way";
  EXPECT_EQ(kernel().error(), planted);
}

// ---- What is no path ---------------------------------------------------------------------------

struct SyntaxError {
  const char* path;
  int position;
};

constexpr SyntaxError kSyntaxErrors[] = {
    {"/a", 0},           {"/", 0},
    {"a//b", 2},         {" ", 1},
    {"a ", 1},           {"a b", 1},
    {"N=two words", 5},  {"L,a", 2},
    {"L,[", 2},          {"a,N=b", 2},
    {"a,D=7", 2},        {"D=7,N=a", 4},
    {"N=a,D=7", 4},      {"N=a,N=a", 4},
    {"D=7,D=7", 4},      {"C,L", 2},
    {"L,C", 2},          {"L,L", 2},
    {"X=1,X=1", 4},      {"V=1,V=1", 4},
    {"L,", 2},           {"L,  ", 4},
    {"a,", 2},           {",", 0},
    {",L", 0},           {"L,,X=1", 2},
    {"D=", 2},           {"D=x", 2},
    {"D=-", 3},          {"D=7x", 3},
    {"D=7 ", 3},         {"D= 7", 2},
    {"X=", 2},           {"X=1]", 3},
    {"V=", 2},           {"V=abc", 2},
    {"V= 5", 2},         {"V=5 ", 3},
    {"V='5", 4},         {"V='5'x", 5},
    {"N='a", 4},         {"N=\"a'", 5},
    {"N='a'b", 5},       {"N= 'x'", 2},
    {"N='a'[0]", 5},     {"[", 1},
    {"[]", 1},           {"[ ]", 2},
    {"[x]", 1},          {"[1", 2},
    {"[1x]", 2},         {"[08]", 2},
    {"[0x]", 2},         {"[1]x", 3},
    {"[1] ", 3},         {"[0][1]", 3},
    {"[1],X=0", 3},      {"kids[2]x", 7},
    {"kids[", 5},        {"kids[]", 5},
    {"kids/[2", 7},      {"kids/L,N=deep/[x]", 15},
    {"D=7[0]", 3},       {"L ", 1},
    {"L,N=a,X=1[2]", 9}, {"L,a,V=6", 2},
};

TEST_F(VariantPaths, AreRefusedAtTheOffendingCharacter) {
  for (const SyntaxError& error : kSyntaxErrors) {
    expect_refused(error.path, failure_at(22, "(syntax)", error.position));
  }
}

TEST_F(VariantPaths, TellWhereNothingWasFound) {
  struct {
    const char* path;
    int position;
  } const all[] = {
      {"b", 1},        {"A", 1},
      {"kids/zz", 7},  {"kids[4]", 7},
      {"[8]", 3},      {"[99999999999]", 13},
      {"X=8", 3},      {"D=99", 4},
      {"D=7,X=2", 7},  {"a,X=2", 5},
      {"V=99", 4},     {"V='red',X=2", 11},
      {"V='RED'", 7},  {"D=8,V=5", 7},
      {"a,V=7", 5},    {"N=''", 4},
      {"b[2]", 1},     {"a/b", 3},
      {"V=5,X=-1", 8}, {"V=5,X=-2147483648", 17},
      {"N=k", 3},      {"kids/[3]/[1]/[0]", 12},
  };
  for (const auto& missing : all) {
    expect_refused(missing.path, failure_at(2, nullptr, missing.position));
  }
}

TEST_F(VariantPaths, TellWhereAStepCannotBeTaken) {
  expect_refused("a[2]", failure_at(22, "(type)", 4));
  expect_refused("Length/L", failure_at(22, "(type)", 8));
  expect_refused("kids[0]/[0]", failure_at(22, "(type)", 11));
  expect_refused("[-1]", failure_at(22, "(ix)", 4));
  expect_refused("a,X=-1", failure_at(22, "(ix)", 6));
  expect_refused("kids/L,X=-99999999999", failure_at(22, "(ix)", 21));
}

TEST_F(VariantPaths, EndAtAChildThatNobodyHolds) {
  for (const std::int32_t count : {0, -3}) {
    set_references(children_[1], count);
    const std::string condition = "(ref=" + std::to_string(count) + ")";
    for (const std::string path : {"a", "[1]", "D=7,X=1", "L,V=5"}) {
      const auto end = static_cast<int>(path.size());
      expect_refused(path, failure_at(22, condition.c_str(), end));
    }
    EXPECT_EQ(references(children_[1]), count);
    EXPECT_EQ(find("a,X=1"), children_[2]) << "the others are found as ever";
  }
  set_references(children_[1], 3);
}

TEST_F(VariantPaths, EndAtAnEmptyPlaceInAList) {
  qm_variant** items = nullptr;
  std::memcpy(&items, reinterpret_cast<unsigned char*>(kids_) + 16, sizeof items);
  qm_variant* const item = std::exchange(items[1], nullptr);
  expect_refused("kids[1]", failure_at(22, "(variant)", 7));
  expect_refused("kids/L,V=101", failure_at(22, "(variant)", 12));
  EXPECT_EQ(value_of(find("kids[2]")), 102);
  items[1] = item;
}

TEST_F(VariantPaths, RepeatTheirErrorAsFarAsTheMessageReaches) {
  const Text percents(1500, QM_W('%'));
  const qm_error_text pair{22, percents.c_str()};
  qm_add_error_texts texts{1, &pair};
  ASSERT_EQ(kernel()(QM_CALL_ADDERRORTEXTS, &texts), 1);
  qm_variant_path_w request{root_, QM_W("/"), nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTPATHW, &request), 0);
  const Text start = percents + QM_W("  [qmsd] ");
  EXPECT_EQ(kernel().error().message, (start + start + QM_W("(syntax)")).substr(0, 2047));
}

TEST_F(VariantPaths, NeedAPathAndARoot) {
  for (qm_variant* root : {root_, static_cast<qm_variant*>(nullptr)}) {
    qm_variant_path_w request{root, nullptr, poisoned<qm_variant*>()};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHW, request, failure(22, "(path)")));
    qm_variant_path_a narrow{root, nullptr, poisoned<qm_variant*>()};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHA, narrow, failure(22, "(path)")));
    auto value = poisoned<qm_variant_path_value_w>();
    value.root = root;
    value.path = nullptr;
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHVALUEW, value, failure(22, "(path)")));
    auto narrow_value = poisoned<qm_variant_path_value_a>();
    narrow_value.root = root;
    narrow_value.path = nullptr;
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHVALUEA, narrow_value, failure(22, "(path)")));
  }
  root_ = nullptr;
  expect_refused("a", failure(22, "(root)"));
  expect_refused("", failure(22, "(root)"));
  expect_refused("//", failure(22, "(root)"));
}

TEST_F(VariantPaths, ThatCannotBeWidenedAreRefused) {
#ifdef _WIN32
  const char* const locale = ".932";
  const char path[] = "\x81";
#else
  const char* const locale = "C.UTF-8";
  const char path[] = "\xC3";
#endif
  const ScopedLocale before;
  ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr) << locale;
  qm_variant_path_a request{root_, path, poisoned<qm_variant*>()};
  const Failure expected = failure(12, "(mem or char coding)");
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHA, request, expected));
  auto value = poisoned<qm_variant_path_value_a>();
  value.root = root_;
  value.path = path;
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTPATHVALUEA, value, expected));
}

// ---- References --------------------------------------------------------------------------------

TEST_F(VariantPaths, GiveAReferenceToWhatTheyFindAndToNothingElse) {
  std::vector<std::int32_t> before;
  for (qm_variant* child : children_) before.push_back(references(child));
  qm_variant_path_w request{root_, QM_W("L,V='red',X=1"), nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTPATHW, &request), 1);
  EXPECT_EQ(adopt(request.result), children_[5]);
  ++before[5];
  expect_refused("L,V='blue'", failure_at(2, nullptr, 10));
  expect_refused("kids[9]", failure_at(2, nullptr, 7));
  for (std::size_t at = 0; at < children_.size(); ++at) {
    EXPECT_EQ(references(children_[at]), before[at]);
  }
  EXPECT_EQ(references(root_), 1);
}

// ---- Values ------------------------------------------------------------------------------------

TEST_F(VariantPaths, ReadValues) {
  std::int16_t number = 0;
  qm_variant_path_value_w wide{root_, QM_W("kids[2]"), -1, QM_TYPE_SIGNED, 2, 1, &number, 2};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTPATHVALUEW, &wide), 1);
  EXPECT_EQ(number, 102);
  EXPECT_EQ(wide.id, 102);
  EXPECT_EQ(wide.size, 2);
  EXPECT_EQ(wide.type, QM_TYPE_SIGNED);

  char text[8];
  qm_variant_path_value_a narrow{root_, "kids[2]", -1, QM_TYPE_TEXT, 8, 0, text, 8};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTPATHVALUEA, &narrow), 1);
  EXPECT_STREQ(text, "102");
  EXPECT_EQ(narrow.id, 102);
  EXPECT_EQ(narrow.size, 4);
  EXPECT_EQ(references(items(kids_)[2]), 2);
}

TEST_F(VariantPaths, RefuseValuesAsTheConversionDoes) {
  std::int64_t value;
  struct {
    const qm_wchar* path;
    std::int32_t type, size;
    const char* condition;
  } const all[] = {
      {QM_W("kids"), QM_TYPE_SIGNED, 8, "(type)"},
      {QM_W("a"), QM_TYPE_SIGNED, 3, "(tgtlen)"},
      {QM_W("a"), QM_TYPE_SIGNED, 0, "(param)"},
      {QM_W("a"), QM_TYPE_CONTAINER, 8, "(type)"},
  };
  for (const auto& refusal : all) {
    qm_variant_path_value_w record{root_, refusal.path, -1, refusal.type, refusal.size,
                                   1,     &value,       8};
    EXPECT_TRUE(
        kernel().refuses(QM_CALL_VARIANTPATHVALUEW, record, failure(22, "%s", refusal.condition)));
  }
  EXPECT_EQ(references(children_[1]), 3);
}

}  // namespace
}  // namespace contract
