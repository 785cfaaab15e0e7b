// "qmtool validate" on good modules and on bad ones: each deed is seen by the check that is meant
// for it.
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class Validate : public ToolTest {
 protected:
  Json result_of(const std::string& module, const std::string& check, const Arguments& more = {},
                 int exit_code = 1) const {
    Arguments arguments = {"validate", module, "--check", check};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return json(arguments, exit_code)["checks"][0];
  }
};

Json check_of(const Json& document, const std::string& name) {
  const auto& checks = document["checks"];
  const auto found =
      std::ranges::find_if(checks, [&](const Json& check) { return check["name"] == name; });
  return found != checks.end() ? *found : Json();
}

TEST_F(Validate, HasManyChecksWithNamesTitlesAndAdvice) {
  const Json checks = json({"validate", "--list"});
  EXPECT_GE(checks.size(), 40u);
  for (const Json& check : checks) {
    EXPECT_NE(std::string(check["name"]).find('.'), std::string::npos);
    EXPECT_TRUE(std::string(check["advice"]).ends_with('.')) << check["advice"];
    EXPECT_FALSE(std::string(check["title"]).ends_with('.')) << check["title"];
  }
}

TEST_F(Validate, PassesAGoodModuleInEverything) {
  install("misbehaving");
  const Json document = json({"validate", "misbehaving", "--codes", "0x7e000001-0x7e000001"});
  for (const Json& check : document["checks"]) {
    if (check["result"] == "passed") continue;
    EXPECT_EQ(check["result"], "skipped") << check.dump(2);
    EXPECT_TRUE(check["name"] == "call.group" || check["name"] == "call.stack") << check["name"];
  }
  EXPECT_EQ(document["failed"], 0);
  EXPECT_EQ(document["warnings"], 0);
  EXPECT_GE(document["passed"], 70);
}

TEST_F(Validate, PassesTheExampleModules) {
  install("exgreeter");
  install("excounter");
  for (const char* module : {"exgreeter", "excounter"}) {
    const Json document = json({"validate", module, "--check", "memory", "--check", "end"});
    EXPECT_EQ(document["warnings"], 0) << document.dump(2);
  }
}

TEST_F(Validate, PassesThePropertyModule) {
  install_store("[default.groups]\n");
  const Json document = json({"validate", "qmproperty", "--check", "call", "--check", "threads",
                              "--check", "end", "--codes", "0x11000000-0x1100000f"});
  EXPECT_EQ(document["warnings"], 0) << document.dump(2);
}

struct Deed {
  const char* deed;
  const char* check;
  const char* result;
};
void PrintTo(const Deed& deed, std::ostream* out) { *out << deed.deed; }

class ValidateDeeds : public Validate, public testing::WithParamInterface<Deed> {};

TEST_P(ValidateDeeds, AreSeen) {
  install("misbehaving");
  misbehave(GetParam().deed);
  const bool hangs = std::string(GetParam().deed).ends_with("hang");
  const bool fails = std::string(GetParam().result) == "failed";
  const Json result =
      result_of("misbehaving", GetParam().check,
                {"--limit", hangs ? "700" : "10000", "--codes", "0x7e000001-0x7e000001"}, fails);
  EXPECT_EQ(result["result"], GetParam().result) << result.dump(2);
  EXPECT_NE(result.value("seen", ""), "");
  EXPECT_NE(result.value("advice", ""), "");
}

INSTANTIATE_TEST_SUITE_P(
    , ValidateDeeds,
    testing::Values(
        Deed{"load crash", "load.loads", "failed"}, Deed{"load hang", "load.loads", "failed"},
        Deed{"load dawdle", "load.quickly", "failed"}, Deed{"load locale", "load.locale", "failed"},
        Deed{"load folder", "load.current-folder", "failed"},
        Deed{"load rounding", "load.floating-point", "failed"},
        Deed{"load thread", "load.no-threads", "warning"},
        Deed{"unload crash", "load.loads", "failed"},
        Deed{"information refuse", "information.answer", "failed"},
        Deed{"information trust", "information.null-record", "failed"},
        Deed{"open refuse", "open.opens", "failed"}, Deed{"open crash", "open.opens", "failed"},
        Deed{"open leave", "open.opens", "failed"},
        Deed{"open trust", "open.null-record", "failed"},
        Deed{"open leak", "memory.instances", "failed"},

        Deed{"open thread", "threads.own", "warning"},
        Deed{"close forget", "open.thousand-times", "failed"},
        Deed{"close crash", "open.opens", "failed"}, Deed{"close hang", "open.opens", "failed"},
        Deed{"stray crash", "close.wrong-handle", "failed"},
        Deed{"notice trust", "call.null-notice", "failed"},
        Deed{"call accept", "call.unknown-code", "failed"},
        Deed{"call silent", "call.error", "failed"},
        Deed{"call wordless", "call.error-text", "warning"},
        Deed{"call trust", "call.own-codes", "failed"},
        Deed{"call wrong-handle", "call.wrong-handle", "failed"},
        Deed{"call crash", "call.many-codes", "failed"},
        Deed{"call leak", "memory.refusals", "failed"},
        Deed{"call push", "memory.error-stack", "failed"},
        Deed{"late leave", "end.open", "failed"}),
    [](const auto& row) {
      std::string name = std::string(row.param.deed) + " in " + row.param.check;
      std::ranges::replace_if(
          name, [](char unit) { return !std::isalnum(unit); }, '_');
      return name;
    });

TEST_F(Validate, TellsHowACrashEnded) {
  install("misbehaving");
  misbehave("call crash");
  const std::string seen = result_of("misbehaving", "call.unknown-code")["seen"];
  EXPECT_TRUE(seen.starts_with("it crashes (")) << seen;
}

TEST_F(Validate, TellsWhereTheFirstTripEnded) {
  install("misbehaving");
  misbehave("close leave");
  EXPECT_EQ(result_of("misbehaving", "open.opens")["seen"],
            "it ends the process with exit code 7 while it is closed");
}

TEST_F(Validate, SkipsWhatRestsOnAFailedCheck) {
  install("misbehaving");
  misbehave("open refuse");
  const Json document =
      json({"validate", "misbehaving", "--check", "load", "--check", "open", "--check", "call"}, 1);
  EXPECT_EQ(document["failed"], 1);
  EXPECT_EQ(check_of(document, "call.unknown-code")["seen"], "open.opens failed");
  EXPECT_EQ(check_of(document, "load.again")["result"], "skipped");
  EXPECT_EQ(check_of(document, "load.repeatedly")["result"], "passed");
}

TEST_F(Validate, TellsUnaskedWhatTheChecksRestOn) {
  const Json document = json({"validate", "absent", "--check", "call"}, 1);
  EXPECT_EQ(document["failed"], 1);
  EXPECT_EQ(check_of(document, "file.fits")["result"], "failed");
  EXPECT_EQ(check_of(document, "call.unknown-code")["result"], "skipped");
}

TEST_F(Validate, SeesVersionsThatDisagree) {
  install("tm_plain");
  EXPECT_EQ(result_of("tm_plain", "file.version-agrees")["seen"],
            "the file says 1.2.3.300, the record 1.2.3.4");
}

TEST_F(Validate, SeesAMissingVersion) {
  install("tm_noversion");
  EXPECT_EQ(result_of("tm_noversion", "file.version")["result"], "failed");
}

TEST_F(Validate, SeesAnotherName) {
  install("misbehaving", "renamed");
  EXPECT_EQ(result_of("renamed", "file.original-name", {}, 0)["result"], "warning");
}

TEST_F(Validate, SeesAMissingImport) {
  install("importing");
  EXPECT_EQ(result_of("importing", "file.imports")["result"], "failed");
}

TEST_F(Validate, SkipsWhatModulesOfTheOlderKindDoNotKnow) {
  install("tm_extended");
  EXPECT_EQ(result_of("tm_extended", "information.version", {}, 0)["result"], "skipped");
  EXPECT_EQ(result_of("tm_extended", "open.opens", {}, 0)["result"], "passed");
}

#ifdef _WIN32
TEST_F(Validate, SeesTheWrongCallingConvention) {
  install("wrong_convention");
  const Json result = result_of("wrong_convention", "call.stack");
  EXPECT_EQ(result["seen"], "a call leaves the stack 12 bytes off");
}
#endif

TEST_F(Validate, PrintsATableAndAdviceAndASummary) {
  install("misbehaving");
  misbehave("call silent");
  const ProgramRun run =
      ToolTest::run({"validate", "misbehaving", "--check", "call.error", "--check", "call.stack"});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_NE(run.output.find("FAILED"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("call.error: the error state is empty after a refusal.\n"
                            "  Record an error with QM_CALL_SETERRORW before returning 0.\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("\nmisbehaving: "), std::string::npos) << run.output;
}

TEST_F(Validate, KnowsNoOtherChecks) {
  EXPECT_EQ(run({"validate", "misbehaving", "--check", "nonsense"}).exit_code, 2);
  EXPECT_EQ(run({"validate"}).exit_code, 2);
}

}  // namespace
}  // namespace qmtool_test
