// "qmtool call": typed fields, the result, and what the fields hold afterwards.
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class Call : public ToolTest {
 protected:
  Json call(Arguments arguments, int exit_code = 0) const {
    arguments.insert(arguments.begin(), "call");
    return json(std::move(arguments), exit_code);
  }
  static std::string after(const Json& document, std::size_t field) {
    return document["fields"][field]["after"];
  }
};

TEST_F(Call, ReachesTheKernelByNameAndNumber) {
  EXPECT_EQ(call({"kernel", "NOP"})["result"], 1);
  EXPECT_EQ(call({"kernel", "QM_CALL_NOP"})["result"], 1);
  EXPECT_EQ(call({"0", "0x1000000f"})["result"], 1);
}

TEST_F(Call, TellsTheErrorOfARefusal) {
  const Json document = call({"kernel", "0x1000abcd"}, 1);
  EXPECT_EQ(document["result"], 0);
  EXPECT_EQ(document["error"]["code"], 22);
  EXPECT_TRUE(
      std::string(document["error"]["message"]).ends_with("(function=1000abcd?,handle=00000000)"));
}

TEST_F(Call, PassesTextsInAndShowsTextsThatAreHandedOut) {
  install("exgreeter");
  const Json document = call({"exgreeter", "0x12010000", "w:W\u00F6rld", "wout"});
  EXPECT_EQ(document["fields"][0], Json({{"field", "w:W\u00F6rld"}, {"after", "\"W\u00F6rld\""}}));
  EXPECT_EQ(after(document, 1), "\"Hello, W\u00F6rld!\"");
}

TEST_F(Call, PassesNumbersInAndOut) {
  install("excounter");
  EXPECT_EQ(after(call({"excounter", "0x12000000", "i32:-5", "out"}), 0), "-5 (0xfffffffb)");
  EXPECT_EQ(after(call({"excounter", "0x12000000", "u32:7", "out"}), 1), "7 (0x00000007)");
}

TEST_F(Call, KnowsFloatingPointNumbers) {
  const Json document = call({"kernel", "NOP", "u32:1", "f64:-2.5", "f64:1e300"});
  EXPECT_EQ(after(document, 1), "-2.5");
  EXPECT_EQ(after(document, 2), "1e+300");
}

TEST_F(Call, OffersBuffers) {
  const Json document = call({"kernel", "GETERRORW", "out", "wbuf:40", "i32:40"}, 1);
  EXPECT_EQ(document["result"], 0);
  EXPECT_FALSE(document.contains("error"));
  const Json bytes = call({"kernel", "GETERRORA", "out", "buf:4", "i32:4"}, 1);
  EXPECT_EQ(after(bytes, 1).size(), std::string("00 00 00 00").size());
}

TEST_F(Call, ShowsPointersThatAreWritten) {
  const Json document = call({"kernel", "GETKERNELINFO", "null"});
  EXPECT_TRUE(after(document, 0).starts_with("0x")) << document;
  EXPECT_EQ(after(document, 0).size(), 2 + 2 * sizeof(void*));
}

TEST_F(Call, ReachesGroups) {
  install_store("[a]\nb = \"see\"\n");
  const Json document = call({"0xffff1100", "0x11000000", "w:/a/b", "wbuf:16", "i32:16"});
  EXPECT_EQ(after(document, 1), "\"see\"");
}

TEST_F(Call, RefusesWhatIsNoField) {
  for (const char* field : {"u32:", "u32:x", "u32:-1", "u32:4294967296", "i32:2147483648", "buf:0",
                            "buf:99999999999", "f64:", "f64:x", "what", "what:5", ""}) {
    const ProgramRun result = run({"call", "kernel", "NOP", field});
    EXPECT_EQ(result.exit_code, 2) << field;
    EXPECT_NE(result.errors.find("is no field"), std::string::npos) << result.errors;
  }
}

TEST_F(Call, RefusesWhatIsNoCode) { EXPECT_EQ(run({"call", "kernel", "NONSENSE"}).exit_code, 2); }

TEST_F(Call, EndsWithTheErrorOfAModuleThatDoesNotOpen) {
  const Json document = call({"nosuchmodule", "0x12000000"}, 1);
  EXPECT_EQ(document["error"]["code"], 0x1000);
}

}  // namespace
}  // namespace qmtool_test
