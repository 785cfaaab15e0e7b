// "qmtool convert", "qmtool date" and "qmtool bench".
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class Values : public ToolTest {
 protected:
  std::string convert(const std::string& value, const std::string& to) const {
    return json({"convert", "--to", to, "--", value})["to"]["text"];
  }
};

TEST_F(Values, AreConvertedAsTheKernelDoes) {
  EXPECT_EQ(convert("300", "u8"), "44");
  EXPECT_EQ(convert("-1", "u16"), "65535");
  EXPECT_EQ(convert("0x10", "i64"), "16");
  EXPECT_EQ(convert("2.75", "i32"), "2");
  EXPECT_EQ(convert("0.5", "f32"), "0.5");
  EXPECT_EQ(convert("3", "wide"), "3");
  EXPECT_EQ(convert("caf\u00E9", "utf8"), "caf\u00E9");
  EXPECT_EQ(convert("caf\u00E9", "wide"), "caf\u00E9");
  EXPECT_EQ(convert("1970-01-02", "i64"), "86400000");
  EXPECT_EQ(convert("86400000", "date"), "1970-01-02 00:00:00.000");
  EXPECT_EQ(convert("258", "binary"), "02 01 00 00");
}

TEST_F(Values, TellWhatATextTurnedOutToBe) {
  const Json recognised = json({"convert", "042", "--to", "text"});
  EXPECT_EQ(recognised["from"], Json({{"type", 1}, {"size", 4}, {"text", "34"}}));
  const Json text = json({"convert", "042", "--text", "--to", "i32"});
  EXPECT_EQ(text["from"]["type"], 131);
  EXPECT_EQ(text["to"]["text"], "42");
}

TEST_F(Values, HaveNoOtherTypes) {
  EXPECT_EQ(run({"convert", "1", "--to", "i7"}).exit_code, 2);
  EXPECT_EQ(run({"convert", "1"}).exit_code, 2);
}

TEST_F(Values, DatesAreReadByLayoutAndByRecognition) {
  const Json readings = json({"date", "2024-02-29 13:05:09.5"});
  for (const Json& reading : readings) {
    EXPECT_EQ(reading["text"], "2024-02-29 13:05:09.500");
    EXPECT_EQ(reading["milliseconds_since_1970"], 1709211909500);
    EXPECT_EQ(reading["month"], 2);
  }
  const Json parts = json({"date", "XXXX-05-17"})[0];
  EXPECT_EQ(parts["century"], nullptr);
  EXPECT_EQ(parts["day"], 17);
  const Json week = json({"date", "2024-W09-4"});
  EXPECT_EQ(week[0]["date_time"], false);
  EXPECT_EQ(week[1]["text"], "2024-02-29");
}

TEST_F(Values, DatesThatAreNoneEndWithOne) { EXPECT_EQ(run({"date", "some day"}).exit_code, 1); }

TEST_F(Values, BenchMeasuresThreeKindsOfCalls) {
  install_store("");
  const Json rows = json({"bench", "--time", "20"});
  ASSERT_EQ(rows.size(), 3u);
  for (const Json& row : rows) EXPECT_GT(row["nanoseconds"], 0.1);
}

}  // namespace
}  // namespace qmtool_test
