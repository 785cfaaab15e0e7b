// "qmtool inspect" on modules that go wrong when they are tried, and on those that do not.
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

struct Trial {
  const char* deed;
  const char* cause;
};
// Reports name the cases by this.
void PrintTo(const Trial& trial, std::ostream* out) { *out << trial.deed; }

class InspectTrials : public ToolTest {
 protected:
  std::string cause_of(const std::string& module, const std::string& limit = "5000") const {
    return json({"inspect", module, "--limit", limit}, 1)["cause"];
  }
};

class InspectDeeds : public InspectTrials, public testing::WithParamInterface<Trial> {};

TEST_P(InspectDeeds, HaveACauseOfTheirOwn) {
  install("misbehaving");
  misbehave(GetParam().deed);
  const bool hangs = std::string(GetParam().deed).ends_with("hang");
  EXPECT_EQ(cause_of("misbehaving", hangs ? "700" : "5000"), GetParam().cause);
}

INSTANTIATE_TEST_SUITE_P(
    , InspectDeeds,
    testing::Values(Trial{"load crash", "load-crashes"}, Trial{"load hang", "load-hangs"},
                    Trial{"load leave", "load-ends-process"},
                    Trial{"notice crash", "notice-crashes"}, Trial{"notice hang", "notice-hangs"},
                    Trial{"open refuse", "open-refused"}, Trial{"open crash", "open-crashes"},
                    Trial{"open hang", "open-hangs"}, Trial{"open leave", "open-ends-process"},
                    Trial{"close crash", "close-crashes"}, Trial{"close hang", "close-hangs"}),
    [](const auto& row) {
      std::string name = row.param.cause;
      std::ranges::replace(name, '-', '_');
      return name;
    });

struct Module {
  const char* name;
  const char* cause;
};
void PrintTo(const Module& module, std::ostream* out) { *out << module.name; }

class InspectRecords : public InspectTrials, public testing::WithParamInterface<Module> {};

TEST_P(InspectRecords, HaveACauseOfTheirOwn) {
  install(GetParam().name, "module");
  EXPECT_EQ(cause_of("module"), GetParam().cause);
}

INSTANTIATE_TEST_SUITE_P(, InspectRecords,
                         testing::Values(Module{"tm_foreign", "foreign-identifier"},
                                         Module{"tm_foreign_nocall", "foreign-identifier"},
                                         Module{"tm_foreign_norecord", "information-empty"},
                                         Module{"tm_foreign_refuses", "information-refused"},
                                         Module{"tm_nullcall", "no-entry"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(InspectTrials, RepeatTheModulesOwnWords) {
  install("misbehaving");
  misbehave("open refuse");
  const Json document = json({"inspect", "misbehaving"}, 1);
  EXPECT_NE(std::string(document["problem"]).find("no licence"), std::string::npos);
  EXPECT_EQ(document["error"]["code"], 0x8101);
}

TEST_F(InspectTrials, BlameThePropertyModuleForItsOwnCrash) {
  install("misbehaving", "qmproperty");
  misbehave("load crash");
  EXPECT_EQ(cause_of("qmproperty"), "load-crashes");
}

TEST_F(InspectTrials, BlameTheKernelsStartWhenThePropertyModuleSpoilsIt) {
  install("misbehaving", "qmproperty");
  install("tm_plain", "module");
  misbehave("call crash");
  const Json document = json({"inspect", "module"}, 1);
  EXPECT_EQ(document["cause"], "kernel-crashes");
  EXPECT_NE(std::string(document["advice"]).find("qmproperty"), std::string::npos);
}

#ifdef _WIN32
TEST_F(InspectTrials, NameTheLoadRoutineThatRefuses) {
  install("unwilling");
  EXPECT_EQ(cause_of("unwilling"), "load-refused");
}

TEST_F(InspectTrials, NameTheWrongCallingConvention) {
  install("wrong_convention");
  EXPECT_EQ(cause_of("wrong_convention"), "calling-convention");
}
#endif

TEST_F(InspectTrials, TellAllAboutAModuleThatLoads) {
  install("exgreeter");
  install_store("[default.groups]\nx1201 = \"exgreeter\"\n");
  const Json document = json({"inspect", "exgreeter"});
  EXPECT_TRUE(document["loads"]);
  EXPECT_TRUE(
      std::filesystem::equivalent(std::string(document["file"]), folder() / library("exgreeter")));
  EXPECT_EQ(document["bits"], sizeof(void*) * 8);
  EXPECT_EQ(document["exports"], Json({"qm_call", "qmmoduleinfo"}));
  EXPECT_EQ(document["information"]["version"], "1.0.0.0");
  EXPECT_EQ(document["information"]["id"], 0x716D0000);
  EXPECT_EQ(document["versions"][1], Json({"FileVersion", "1.0.0.0"}));
  EXPECT_EQ(document["groups"], Json({0x1201}));
  EXPECT_FALSE(document.contains("cause"));
  for (const Json& step : document["steps"]) EXPECT_TRUE(step["ok"]) << step["text"];
}

TEST_F(InspectTrials, AcceptAFileByItsPath) {
  install("exgreeter");
  EXPECT_EQ(json({"inspect", (folder() / library("exgreeter")).string()})["loads"], true);
  EXPECT_EQ(json({"inspect", library("exgreeter")})["loads"], true);
}

TEST_F(InspectTrials, AcceptModulesOfTheOlderKind) {
  install("tm_extended", "module");
  EXPECT_EQ(json({"inspect", "module"})["loads"], true);
}

TEST_F(InspectTrials, FollowAnAlias) {
  install("exgreeter");
  install_store("[default]\nviewer = \"exgreeter : fast\"\n");
  const Json document = json({"inspect", "viewer"});
  EXPECT_EQ(document["alias"], Json({{"path", "/default/viewer"},
                                     {"value", "exgreeter : fast"},
                                     {"name", "exgreeter"},
                                     {"group", "fast"}}));
  EXPECT_TRUE(std::string(document["file"]).ends_with(library("exgreeter")));
}

TEST_F(InspectTrials, FollowAnAliasOfAGroup) {
  install("exgreeter");
  install_store("[tools]\nviewer = \"exgreeter\"\n");
  EXPECT_EQ(json({"inspect", "viewer", "--group", "tools"})["loads"], true);
  EXPECT_EQ(json({"inspect", "viewer"}, 1)["cause"], "absent");
}

TEST_F(InspectTrials, BlameTheAliasThatLeadsNowhere) {
  install_store("[default]\nviewer = \"nosuchmodule\"\n");
  const Json document = json({"inspect", "viewer"}, 1);
  EXPECT_EQ(document["cause"], "absent");
  EXPECT_NE(std::string(document["problem"]).find("nosuchmodule"), std::string::npos);
  EXPECT_EQ(document["behind_alias"]["module"], "nosuchmodule");
}

TEST_F(InspectTrials, EndInASentenceThatSaysWhatToDo) {
  install("tm_nothing", "module");
  const ProgramRun run = ToolTest::run({"inspect", "module"});
  EXPECT_EQ(run.exit_code, 1);
  const std::size_t last = run.output.rfind("What to do: Export both names");
  ASSERT_NE(last, std::string::npos) << run.output;
  EXPECT_EQ(run.output.find('\n', last), run.output.size() - 1);
}

}  // namespace
}  // namespace qmtool_test
