#include "services/files/wildcard.h"

#include <gtest/gtest.h>

#include <string>

namespace qmsd {
namespace {

std::string shown(WideView text) { return {text.begin(), text.end()}; }

struct MatchCase {
  const qm_wchar* name;
  const qm_wchar* pattern;
  bool matches;
};

class Wildcard : public testing::TestWithParam<MatchCase> {};

TEST_P(Wildcard, MatchesAsTheTableSays) {
  const MatchCase& row = GetParam();
  EXPECT_EQ(wildcard_match(row.name, row.pattern), row.matches)
      << shown(row.name) << " against " << shown(row.pattern);
}

INSTANTIATE_TEST_SUITE_P(Texts, Wildcard,
                         testing::Values(MatchCase{QM_W(""), QM_W(""), true},
                                         MatchCase{QM_W("a"), QM_W(""), false},
                                         MatchCase{QM_W("abc"), QM_W("abc"), true},
                                         MatchCase{QM_W("abc"), QM_W("abC"), false},
                                         MatchCase{QM_W("abc"), QM_W("a?c"), true},
                                         MatchCase{QM_W("ac"), QM_W("a?c"), false}));

INSTANTIATE_TEST_SUITE_P(Stars, Wildcard,
                         testing::Values(MatchCase{QM_W(""), QM_W("*"), true},
                                         MatchCase{QM_W("abc"), QM_W("*"), true},
                                         MatchCase{QM_W("abc"), QM_W("***"), true},
                                         MatchCase{QM_W("report.log"), QM_W("*.log"), true},
                                         MatchCase{QM_W("report.log"), QM_W("*.LOG"), false},
                                         MatchCase{QM_W("report.log"), QM_W("r*t.*"), true},
                                         MatchCase{QM_W("report.log"), QM_W("*.*.*"), false},
                                         MatchCase{QM_W("aab"), QM_W("*ab"), true},
                                         MatchCase{QM_W("abab"), QM_W("*ab"), true},
                                         MatchCase{QM_W("abc"), QM_W("*?"), true},
                                         MatchCase{QM_W("abc"), QM_W("a*?d"), false},
                                         MatchCase{QM_W("ab"), QM_W("ab*"), true}));

INSTANTIATE_TEST_SUITE_P(
    Sets, Wildcard,
    testing::Values(
        MatchCase{QM_W("a"), QM_W("[abc]"), true}, MatchCase{QM_W("d"), QM_W("[abc]"), false},
        MatchCase{QM_W("b"), QM_W("[a-c]"), true}, MatchCase{QM_W("d"), QM_W("[a-c]"), false},
        MatchCase{QM_W("x"), QM_W("[a-cx]"), true}, MatchCase{QM_W("bx1"), QM_W("[a-c]x*"), true},
        MatchCase{QM_W("zzbx"), QM_W("*[a-c]x"), true}, MatchCase{QM_W("a"), QM_W("["), false},
        MatchCase{QM_W("a"), QM_W("[a"), false}, MatchCase{QM_W("a"), QM_W("[]"), false},
        MatchCase{QM_W("a"), QM_W("[-a]"), false}, MatchCase{QM_W("a"), QM_W("[a-]"), false},
        MatchCase{QM_W("["), QM_W("["), true}, MatchCase{QM_W("["), QM_W("[[]"), true},
        MatchCase{QM_W("a[b"), QM_W("*[b"), false}, MatchCase{QM_W("a[b"), QM_W("*[[]b"), true},
        // What looks like the pattern's set in a name is only text.
        MatchCase{QM_W("rep*[+-m]?"), QM_W("?*[+-m]??"), true}));

TEST(Wildcard, ManyStarsTakeNoLongerThanAFewSteps) {
  const std::basic_string<qm_wchar> name(200, QM_W('a'));
  std::basic_string<qm_wchar> pattern;
  for (int star = 0; star < 100; ++star) pattern += QM_W("*a");
  pattern += QM_W("*b");
  // The described recursion would not end within the life of the universe; this does before a
  // test's time limit.
  EXPECT_FALSE(wildcard_match(name, pattern));
}

}  // namespace
}  // namespace qmsd
