// The commands for the property store and the tables that live in it.
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class StoreCommands : public ToolTest {};

TEST_F(StoreCommands, GetSetListAndRemove) {
  install_store("[default]\nviewer = \"exgreeter : fast\"\nsize = 42\n");
  EXPECT_EQ(run({"get", "/default/viewer"}).output, "exgreeter : fast\n");
  EXPECT_EQ(run({"list", "/default"}).output, "size\nviewer\n");
  EXPECT_EQ(run({"set", "/default/name", "caf\u00E9"}).exit_code, 0);
  EXPECT_EQ(json({"get", "/default/name"}),
            Json({{"path", "/default/name"}, {"value", "caf\u00E9"}}));
  EXPECT_EQ(run({"remove", "/default/viewer"}).exit_code, 0);
  EXPECT_EQ(json({"list", "/default"})["names"], Json({"name", "size"}));
  EXPECT_NE(content_of(folder() / "qmproperty.toml").find("name"), std::string::npos);
}

TEST_F(StoreCommands, PrintLongValuesWhole) {
  const std::string value(100000, 'x');
  install_store("long = \"" + value + "\"\n");
  EXPECT_EQ(run({"get", "/long"}).output, value + "\n");
}

TEST_F(StoreCommands, EndWithTheStoresError) {
  install_store("");
  const Json document = json({"get", "/no/such/value"}, 1);
  EXPECT_EQ(document["error"]["code"], 2);
  const ProgramRun result = run({"get", "/no/such/value"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_TRUE(result.errors.starts_with("qmtool: error 2: ")) << result.errors;
}

TEST_F(StoreCommands, EndWithTheLoadersErrorWithoutAStore) {
  EXPECT_EQ(json({"get", "/x"}, 1)["error"]["code"], 0x1000);
}

TEST_F(StoreCommands, ListTheGroupsOfKernelAndStore) {
  install_store("[default.groups]\nx1200 = \"excounter\"\nx1101 = \"mylog\"\n");
  const Json groups = json({"groups"});
  EXPECT_EQ(groups[0], Json({{"group", 0x1100},
                             {"handle", 0xFFFF1100},
                             {"module", "qmproperty"},
                             {"from", "kernel"}}));
  EXPECT_EQ(groups[1]["module"], "mylog");
  EXPECT_EQ(groups[1]["from"], "property store");
  EXPECT_EQ(groups.back()["module"], "excounter");
}

// The kernel tells which module it looks for behind a group by its failure to load it.
TEST_F(StoreCommands, ListTheGroupsThatTheKernelHas) {
  for (const Json& group : json({"groups"})) {
    const std::string handle = std::to_string(group["handle"].get<std::uint32_t>());
    const std::string message = json({"call", handle, "0x7e570001"}, 1)["error"]["message"];
    EXPECT_NE(message.find("('" + std::string(group["module"]) + "'->"), std::string::npos)
        << message;
  }
}

TEST_F(StoreCommands, TellWhatErrorsMean) {
  install_store("[default.error]\nx8101 = \"Licence missing\"\n");
  EXPECT_EQ(json({"errors", "0x8101"})[0]["text"], "Licence missing");
  EXPECT_EQ(json({"errors", "2"})[0]["name"], "QM_ERROR_NOT_FOUND");
  EXPECT_EQ(json({"errors", "RANGE"})[0]["code"], 34);
  EXPECT_EQ(json({"errors", "QM_ERROR_LOAD"})[0]["code"], 0x1000);
  EXPECT_EQ(json({"errors", "0x1002"}).size(), 2u);
  const Json all = json({"errors"});
  EXPECT_GE(all.size(), 12u);
  EXPECT_EQ(all.back()["code"], 0x8101);
  EXPECT_EQ(run({"errors", "nonsense"}).exit_code, 2);
}

}  // namespace
}  // namespace qmtool_test
