// "qmtool list": the modules that are installed, where, and which of them load.
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class ListModules : public ToolTest {
 protected:
  // Only what the test puts there: the real PATH may hold anything.
  contract::ScopedVariable path_{"PATH", (folder() / "elsewhere").string()};

  void install_elsewhere(const std::string& module) const {
    std::filesystem::create_directories(folder() / "elsewhere");
    std::filesystem::copy_file(built_library(module), folder() / "elsewhere" / library(module));
  }
};

TEST_F(ListModules, ByNameWithVersionWordSizeAndDescription) {
  install("exgreeter");
  const Json document = json({"list", "ex*"});
  ASSERT_EQ(document["modules"].size(), 1u) << document;
  const Json& module = document["modules"][0];
  EXPECT_EQ(module["name"], "exgreeter");
  EXPECT_EQ(module["version"], "1.0.0.0");
  EXPECT_EQ(module["bits"], sizeof(void*) * 8);
  EXPECT_EQ(module["description"], "Example module: greets");
  EXPECT_EQ(module["loads"], true);
  EXPECT_EQ(document["warnings"], Json::array());
}

TEST_F(ListModules, LeavesOutWhatIsNoModule) {
  install("tm_nothing");
  EXPECT_EQ(json({"list"})["modules"], Json::array());
  const Json all = json({"list", "--all"})["modules"];
  EXPECT_TRUE(std::ranges::any_of(all, [](const Json& m) { return m["name"] == "tm_nothing"; }))
      << all;
}

TEST_F(ListModules, WarnsOfDuplicatesAndTellsWhichOneLoads) {
  install("exgreeter");
  install_elsewhere("exgreeter");
  const Json document = json({"list", "exgreeter"});
  ASSERT_EQ(document["modules"].size(), 2u) << document;
  EXPECT_EQ(document["modules"][0]["loads"], true);
  EXPECT_EQ(document["modules"][1]["loads"], false);
  ASSERT_EQ(document["warnings"].size(), 1u);
  EXPECT_NE(std::string(document["warnings"][0]).find("is there 2 times"), std::string::npos);
}

TEST_F(ListModules, WarnsOfWhatTheCurrentFolderServes) {
  install_elsewhere("exgreeter");
  std::filesystem::current_path(folder() / "elsewhere");
  const Json document = json({"list", "exgreeter"});
  std::filesystem::current_path(folder());
  ASSERT_EQ(document["modules"].size(), 1u) << document;
  EXPECT_EQ(document["modules"][0]["loads"], true);
  ASSERT_EQ(document["warnings"].size(), 1u);
  EXPECT_NE(std::string(document["warnings"][0]).find("current folder"), std::string::npos);
}

TEST_F(ListModules, PrintsATableForEachFolder) {
  install("excounter");
  const ProgramRun result = run({"list", "ex*"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("  excounter  1.0.0.0  "), std::string::npos) << result.output;
}

}  // namespace
}  // namespace qmtool_test
