// Handles of groups: they need no opening, and lead to the module that serves the group.
#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

constexpr std::uint32_t kSomeCode = 0x12340001;
constexpr std::uint32_t kLog = QM_GROUP_HANDLE(0x1101);

using GroupHandles = ModuleTest;

TEST_F(GroupHandles, NeedNoOpening) {
  install_as("tm_plain", "qmlog");
  EXPECT_EQ(kernel().through(kLog, 0x11010003), 1);
  EXPECT_EQ(journal(), (Lines{"qmlog load", "qmlog notice entry=1", "qmlog call 11010003 0"}));
  EXPECT_EQ(kernel().live_handles(), 0);
}

TEST_F(GroupHandles, ReduceTheModulesResultToOneOrZero) {
  install_as("tm_plain", "qmlog");
  for (const std::int32_t result : {1, 7, -1}) {
    tm_number record{result};
    EXPECT_EQ(kernel().through(kLog, TM_RESULT, &record), 1) << result;
  }
  tm_number record{0};
  EXPECT_EQ(kernel().through(kLog, TM_RESULT, &record), 0);
}

// Whether or not there is a library to load.
TEST_F(GroupHandles, HaveNothingToCloseBeforeTheModuleIsLoaded) {
  install_as("tm_plain", "qmstream");
  const Error planted = kernel().plant_error();
  for (const std::uint32_t handle : {kLog, std::uint32_t{QM_GROUP_HANDLE(0x1102)}}) {
    for (const std::uint32_t code : {QM_CALL_CLOSEHANDLE, QM_CALL_REFHANDLE, QM_CALL_UNREFHANDLE}) {
      EXPECT_EQ(kernel().through(handle, code), 1);
    }
  }
  EXPECT_EQ(kernel().error(), planted);
  EXPECT_EQ(journal(), Lines{});
}

struct GroupRow {
  std::uint32_t group;
  const char* module;
};

constexpr GroupRow kGroups[] = {
    {0x1101, "qmlog"},      {0x1102, "qmstream"},     {0x1103, "qmtrafo"},    {0x1104, "qmimage"},
    {0x1105, "qmbmp"},      {0x1106, "qmjpeg"},       {0x1107, "qmwatchdog"}, {0x1108, "qmmotdet"},
    {0x1109, "qmjpeg2k"},   {0x110A, "qmzlib"},       {0x110B, "qmpng"},      {0x110D, "qmspeed"},
    {0x110E, "qmpropfile"}, {0x110F, "qmpropclient"}, {0x1110, "qmjpeg8"},    {0x1111, "qmjpeg12"},
    {0x1113, "qmwsq"},      {0x1100, "qmproperty"},
};

// The property module comes last: once it is there, it is asked for aliases.
TEST_F(GroupHandles, LeadToTheGroupsModule) {
  for (const GroupRow& row : kGroups) {
    const std::uint32_t handle = QM_GROUP_HANDLE(row.group);
    EXPECT_TRUE(kernel().fails(handle, kSomeCode, nullptr, cannot_load(row.module))) << row.module;
    install_as("tm_plain", row.module);
    clear_journal();
    EXPECT_EQ(kernel().through(handle, kSomeCode), 1) << row.module;
    EXPECT_EQ(journal("call"), Lines{std::string(row.module) + " call 12340001 0"});
  }
}

}  // namespace
}  // namespace contract
