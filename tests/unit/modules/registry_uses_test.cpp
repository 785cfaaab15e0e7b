// Who keeps a module loaded, and what makes it go.
#include "modules/registry.h"
#include "services/tables/group_table.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

constexpr std::uint32_t kGroup = 0x2F00;
constexpr std::uint32_t kOwnCode = 0x2F000001;

class Uses : public ModuleTest {
 protected:
  static bool unloaded(const Lines& lines) {
    return !lines.empty() && lines.back().ends_with(" unload");
  }
  static std::int32_t send_close(std::uint32_t handle) {
    qm_handle_ref record{0};
    return qm_call(handle, QM_CALL_CLOSEHANDLE, &record);
  }
};

TEST_F(Uses, LastCloseUnloads) {
  install("tm_plain");
  start();
  const std::uint32_t first = open("tm_plain");
  const std::uint32_t second = open("tm_plain");
  close(first);
  EXPECT_FALSE(unloaded(journal()));
  close(second);
  EXPECT_EQ(journal(), (Lines{"tm_plain close 2", "tm_plain unload"}));
}

TEST_F(Uses, UnloadedModuleLoadsAgain) {
  install("tm_plain");
  start();
  for (int round = 0; round < 3; ++round) {
    close(open("tm_plain"));
    const Lines lines = journal();
    EXPECT_EQ(lines.front(), "tm_plain load");
    EXPECT_EQ(count_of(lines, "tm_plain notice entry=1"), 1);
    EXPECT_TRUE(unloaded(lines));
  }
}

TEST_F(Uses, CallsDoNotAddUp) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(call(handle, kOwnCode), 1);
  close(handle);
  EXPECT_TRUE(unloaded(journal()));
}

TEST_F(Uses, FamilysOwnModulesStayUntilTheEnd) {
  install("qmtm_family");
  start();
  for (int i = 0; i < 3; ++i) close(open("qmtm_family"));
  Lines lines = journal();
  EXPECT_EQ(count_of(lines, "qmtm_family load"), 1);
  EXPECT_EQ(count_of(lines, "qmtm_family notice entry=1"), 1);
  EXPECT_EQ(count_of(lines, "qmtm_family unload"), 0);
  stop();
  EXPECT_EQ(journal(), Lines{"qmtm_family unload"});
}

TEST_F(Uses, FamilyNamesAreLowerCase) {
  install("tm_plain", "QMupper");
  start();
  close(open("QMupper"));
  EXPECT_TRUE(unloaded(journal()));
}

TEST_F(Uses, FailedOpenKeepsItsUse) {
  install("tm_plain");
  set_environment("TM_SETTINGS", "tm_plain.open_result=0");
  start();
  EXPECT_EQ(open("tm_plain"), 0u);
  EXPECT_FALSE(unloaded(journal()));
  EXPECT_EQ(open("tm_plain"), 0u);
  EXPECT_EQ(journal(), Lines{"tm_plain open name=tm_plain group=(null)"});
}

TEST_F(Uses, GroupCallsKeepAModuleLoadedOnce) {
  install("tm_plain");
  start();
  groups_set(kGroup, QM_W("tm_plain"));
  const std::uint32_t group = QM_GROUP_HANDLE(kGroup);
  EXPECT_EQ(call(group, kOwnCode), 1);
  EXPECT_EQ(call(group, kOwnCode), 1);
  EXPECT_EQ(journal(), (Lines{"tm_plain load", "tm_plain notice entry=1",
                              "tm_plain call 2f000001 0", "tm_plain call 2f000001 0"}));
  close(open("tm_plain"));
  EXPECT_FALSE(unloaded(journal()));
  stop();
  EXPECT_EQ(journal(), Lines{"tm_plain unload"});
}

TEST_F(Uses, CloseCodeThroughAGroupReachesTheModuleAndKeepsIt) {
  install("tm_plain");
  start();
  groups_set(kGroup, QM_W("tm_plain"));
  const std::uint32_t handle = open("tm_plain");
  journal();
  EXPECT_EQ(send_close(QM_GROUP_HANDLE(kGroup)), 1);
  EXPECT_EQ(journal(), Lines{"tm_plain close 0"});
  close(handle);
}

TEST_F(Uses, CloseCodeThroughAHandleDropsTheOpenersUseToo) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  journal();
  EXPECT_EQ(send_close(handle), 1);
  EXPECT_EQ(journal(), (Lines{"tm_plain close 1", "tm_plain unload"}));
  close(handle);
  EXPECT_EQ(journal(), Lines{});
}

TEST_F(Uses, UnreferenceCodeThroughAHandleIsAnOrdinaryCall) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  journal();
  qm_handle_ref record{0};
  EXPECT_EQ(qm_call(handle, QM_CALL_UNREFHANDLE, &record), 1);
  EXPECT_EQ(journal(), Lines{"tm_plain call 10030007 1"});
  close(handle);
}

TEST_F(Uses, ReferenceCodeThroughAHandleDoesNotReachTheModule) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  journal();
  EXPECT_EQ(qm_call(handle, QM_CALL_REFHANDLE, nullptr), 1);
  EXPECT_EQ(journal(), Lines{});
  close(handle);
}

TEST_F(Uses, OverdrawnUsesEndInOneUnload) {
  install("tm_plain");
  start();
  const std::uint32_t first = open("tm_plain");
  const std::uint32_t second = open("tm_plain");
  EXPECT_EQ(send_close(first), 1);  // 2 + 1 - 2
  EXPECT_EQ(send_close(first), 1);  // 1 + 1 - 2
  const Lines lines = journal();
  EXPECT_EQ(count_of(lines, "tm_plain unload"), 1);
  // Its handles are still there and close without a module.
  close(first);
  close(second);
  EXPECT_EQ(journal(), Lines{});
}

TEST_F(Uses, ResolveGivesLibraryAndEntryOfAnOpenModule) {
  install("tm_plain");
  start();
  void* library = nullptr;
  qm_call_fn entry = nullptr;
  EXPECT_FALSE(registry_resolve(QM_W("tm_plain"), library, entry));
  const std::uint32_t handle = open("tm_plain");
  EXPECT_TRUE(registry_resolve(QM_W("tm_plain"), library, entry));
  EXPECT_NE(library, nullptr);
  journal();
  EXPECT_EQ(entry(9, kOwnCode, nullptr), 1);
  EXPECT_EQ(journal(), Lines{"tm_plain call 2f000001 9"});
  close(handle);
}

TEST_F(Uses, ResolveGivesTheOlderEntryOfAnExtendedModule) {
  install("tm_extended");
  install("tm_nullcall");
  start();
  const std::uint32_t handle = open("tm_extended");
  void* library = nullptr;
  qm_call_fn entry = nullptr;
  EXPECT_TRUE(registry_resolve(QM_W("tm_extended"), library, entry));
  EXPECT_NE(entry, nullptr);
  EXPECT_EQ(open("tm_nullcall"), 0u);
  EXPECT_FALSE(registry_resolve(QM_W("tm_nullcall"), library, entry));
  close(handle);
}

}  // namespace
}  // namespace qmsd
