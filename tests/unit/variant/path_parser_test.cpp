#include "variant/path_parser.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/random.h"
#include "tests/support/wide_text.h"

namespace qmsd {
namespace {

// A step in one line: the list, then whatever it asks for.
std::string shown(const PathStep& step) {
  std::string text = step.in_items ? "items" : "attributes";
  if (step.child == PathStep::Child::by_id) text += " id=" + std::to_string(step.id);
  if (step.child == PathStep::Child::by_name) {
    text += " name=<" + test::readable(test::WideString(step.name)) + ">";
  }
  if (step.value == PathStep::Value::integer) text += " value=" + std::to_string(step.integer);
  if (step.value == PathStep::Value::text) {
    text += " text=<" + test::readable(test::WideString(step.text)) + ">";
  }
  if (step.has_index) text += " index=" + std::to_string(step.index);
  return text;
}

// All steps, each with the position behind it; "!" and the position for a syntax error.
std::string parsed(WideView path) {
  PathParser parser(path);
  std::string all;
  for (;;) {
    PathStep step;
    const PathParser::Result result = parser.next(step);
    if (result == PathParser::Result::end) return all;
    if (!all.empty()) all += "; ";
    if (result == PathParser::Result::syntax) return all + "!" + std::to_string(parser.position());
    all += shown(step) + " @" + std::to_string(parser.position());
  }
}

struct Row {
  const qm_wchar* path;
  const char* steps;
};

constexpr Row kRows[] = {
    {QM_W(""), ""},
    {QM_W("a"), "attributes name=<a> @1"},
    {QM_W("a/"), "attributes name=<a> @1"},
    {QM_W("a/b"), "attributes name=<a> @1; attributes name=<b> @3"},
    {QM_W("a[2]"), "attributes name=<a> @1; items index=2 @4"},
    {QM_W("a[2]/b"), "attributes name=<a> @1; items index=2 @4; attributes name=<b> @6"},
    {QM_W("N=a[0x1F]"), "attributes name=<a> @3; items index=31 @9"},
    {QM_W("N='a[2]'"), "attributes name=<a[2]> @8"},
    {QM_W("N=\"it's\""), "attributes name=<it's> @8"},
    {QM_W("N=''"), "attributes name=<> @4"},
    {QM_W("[-3]"), "items index=-3 @4"},
    {QM_W("[ +010 ]"), "items index=8 @8"},
    {QM_W("C"), "attributes @1"},
    {QM_W("L"), "items @1"},
    {QM_W("L/C"), "items @1; attributes @3"},
    {QM_W("Length"), "attributes name=<Length> @6"},
    {QM_W("C1"), "attributes name=<C1> @2"},
    {QM_W("D"), "attributes name=<D> @1"},
    {QM_W("L,N=x,X=4"), "items name=<x> index=4 @9"},
    {QM_W("X=4, N=x , L"), "!8"},
    {QM_W("D=-5,V=0x10"), "attributes id=-5 value=16 @11"},
    {QM_W("a,V='b c',X=1"), "attributes name=<a> text=<b c> index=1 @13"},
    {QM_W("V='',L"), "items text=<> @6"},
    {QM_W("D=2147483648"), "attributes id=2147483647 @12"},
    {QM_W("D=-2147483649"), "attributes id=-2147483648 @13"},
    {QM_W("D=99999999999999999999999"), "attributes id=2147483647 @25"},
    {QM_W("a/b//c"), "attributes name=<a> @1; attributes name=<b> @3; !4"},
    {QM_W("L,a"), "!2"},
    {QM_W("N='a"), "!4"},
};

TEST(PathParser, ReadsEveryKindOfStep) {
  for (const Row& row : kRows) {
    EXPECT_EQ(parsed(row.path), row.steps) << test::readable(row.path);
  }
}

TEST(PathParser, AlwaysComesToAnEnd) {
  test::Random random(7);
  const qm_wchar alphabet[] = {'a', 'L', 'C', 'D', 'N', 'V', 'X', '=',  ',', '/',
                               '[', ']', ' ', '0', 'x', '9', '-', '\'', '"'};
  for (int round = 0; round < 20000; ++round) {
    test::WideString path;
    for (auto left = random.below(24u); left != 0; --left) path += random.one_of(alphabet);
    PathParser parser(path);
    PathStep step;
    std::int32_t before = -1;
    while (parser.next(step) == PathParser::Result::step) {
      ASSERT_GT(parser.position(), before) << test::readable(path);
      before = parser.position();
    }
    ASSERT_LE(parser.position(), static_cast<std::int32_t>(path.size()));
  }
}

}  // namespace
}  // namespace qmsd
