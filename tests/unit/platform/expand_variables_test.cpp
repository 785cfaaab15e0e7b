// %NAME% in file names.
#include <gtest/gtest.h>

#include <string>

#include "platform/environment.h"
#include "tests/support/wide_text.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

using test::WideString;

WideString expanded(const qm_wchar* text) {
  const std::size_t length = expand_variables(text, nullptr, 0);
  EXPECT_NE(length, 0u);
  WideString result(length + 1, qm_wchar{'~'});
  EXPECT_EQ(expand_variables(text, result.data(), length), length);
  EXPECT_EQ(result[length], '~');
  EXPECT_EQ(result[length - 1], 0);
  return result.c_str();
}

struct Expansion {
  const qm_wchar* text;
  const qm_wchar* expected;
};

class ExpandVariables : public testing::TestWithParam<Expansion> {
 private:
  VariableGuard first_{"QMSD_A", "value"};
  VariableGuard second_{"QMSD_B", "%QMSD_A%"};
};

TEST_P(ExpandVariables, GivesWhatTheTableSays) {
  EXPECT_EQ(test::readable(expanded(GetParam().text)), test::readable(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ExpandVariables,
    testing::Values(Expansion{QM_W(""), QM_W("")}, Expansion{QM_W("plain"), QM_W("plain")},
                    Expansion{QM_W("%QMSD_A%"), QM_W("value")},
                    Expansion{QM_W("a%QMSD_A%b%QMSD_A%c"), QM_W("avaluebvaluec")},
                    Expansion{QM_W("%QMSD_A%%QMSD_A%"), QM_W("valuevalue")},
                    // Once only: a value is not looked at again.
                    Expansion{QM_W("%QMSD_B%"), QM_W("%QMSD_A%")},
                    Expansion{QM_W("50%"), QM_W("50%")}, Expansion{QM_W("%"), QM_W("%")},
                    Expansion{QM_W("%%"), QM_W("%%")}, Expansion{QM_W("%QMSD_A"), QM_W("%QMSD_A")},
                    Expansion{QM_W("%QMSD_NONE%x"), QM_W("%QMSD_NONE%x")},
                    // The second sign of an unknown name begins no other.
                    Expansion{QM_W("%QMSD_NONE%QMSD_A%"), QM_W("%QMSD_NONE%QMSD_A%")},
                    Expansion{QM_W("%%QMSD_A%"), QM_W("%%QMSD_A%")},
                    Expansion{QM_W("100%\\%QMSD_A%"), QM_W("100%\\%QMSD_A%")},
                    Expansion{QM_W("\x00DF%QMSD_A%\xD83D\xDE00"),
                              QM_W("\x00DFvalue\xD83D\xDE00")}));

TEST(ExpandVariables, SeesChangesAtOnce) {
  const VariableGuard variable("QMSD_A", "old");
  set_variable("QMSD_A", "newer");
  EXPECT_EQ(expanded(QM_W("%QMSD_A%")), QM_W("newer"));
  set_variable("QMSD_A", nullptr);
  EXPECT_EQ(expanded(QM_W("%QMSD_A%")), QM_W("%QMSD_A%"));
}

TEST(ExpandVariables, TellsTheLengthThatAShortBufferLacks) {
  const VariableGuard variable("QMSD_A", "value");
  qm_wchar buffer[8] = {};
  EXPECT_EQ(expand_variables(QM_W("<%QMSD_A%>"), buffer, 8), 8u);
  EXPECT_EQ(WideString(buffer), QM_W("<value>"));
  EXPECT_GE(expand_variables(QM_W("<%QMSD_A%>"), buffer, 4), 8u);
}

TEST(ExpandVariables, TakesLongValues) {
  const std::string value(20000, 'v');
  const VariableGuard variable("QMSD_A", value.c_str());
  EXPECT_EQ(expanded(QM_W("%QMSD_A%")), WideString(value.begin(), value.end()));
}

}  // namespace
}  // namespace qmsd::platform
