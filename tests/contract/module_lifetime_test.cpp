// How long a module's library stays loaded.
#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

class ModuleLifetime : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
    install("qmtm_family");
  }
};

TEST_F(ModuleLifetime, EndsWithTheLastHandle) {
  const std::uint32_t first = open(QM_W("tm_plain"));
  const std::uint32_t second = open(QM_W("tm_plain"));
  EXPECT_TRUE(close(first));
  EXPECT_TRUE(is_loaded("tm_plain"));
  EXPECT_TRUE(close(second));
  EXPECT_FALSE(is_loaded("tm_plain"));
  EXPECT_EQ(journal("load"), (Lines{"tm_plain load", "tm_plain unload"}));
}

TEST_F(ModuleLifetime, BeginsAnewWithTheNextOpen) {
  for (int times = 0; times < 3; ++times) {
    clear_journal();
    EXPECT_TRUE(close(open(QM_W("tm_plain"))));
    EXPECT_EQ(journal(), (Lines{"tm_plain load", "tm_plain notice entry=1",
                                "tm_plain open name=tm_plain group=(null)", "tm_plain close 1",
                                "tm_plain unload"}));
  }
}

TEST_F(ModuleLifetime, IsNotChangedByCallsAndReferences) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_handle_ref record{handle};
  for (int times = 0; times < 10; ++times) {
    EXPECT_EQ(kernel().through(handle, 0x12340001), 1);
    EXPECT_EQ(kernel()(QM_CALL_REFHANDLE, &record), 1);
    EXPECT_EQ(kernel()(QM_CALL_UNREFHANDLE, &record), 1);
  }
  EXPECT_TRUE(is_loaded("tm_plain"));
  EXPECT_TRUE(close(handle));
  EXPECT_FALSE(is_loaded("tm_plain"));
}

TEST_F(ModuleLifetime, LastsToTheEndForTheFamilysOwnModules) {
  for (int times = 0; times < 3; ++times) EXPECT_TRUE(close(open(QM_W("qmtm_family"))));
  EXPECT_TRUE(is_loaded("qmtm_family"));
  EXPECT_EQ(journal("load"), Lines{"qmtm_family load"});
  EXPECT_EQ(journal("notice").size(), 1u);
  EXPECT_EQ(journal("close").size(), 3u);
  unload_kernel();
  EXPECT_EQ(journal("unload"), Lines{"qmtm_family unload"});
  EXPECT_FALSE(is_loaded("qmtm_family"));
}

TEST_F(ModuleLifetime, KnowsTheFamilyByTheFirstTwoSmallLetters) {
  for (const char* name : {"QMtm_upper", "Qmtm_mixed", "q", "xqmtm"}) {
    install_as("tm_plain", name);
    EXPECT_TRUE(close(open(widen(name))));
    EXPECT_FALSE(is_loaded(name)) << name;
  }
  for (const char* name : {"qm", "qmx"}) {
    install_as("tm_plain", name);
    EXPECT_TRUE(close(open(widen(name))));
    EXPECT_TRUE(is_loaded(name)) << name;
  }
}

TEST_F(ModuleLifetime, LastsToTheEndForAModuleReachedByItsGroup) {
  install_as("tm_plain", "qmlog");
  EXPECT_EQ(kernel().through(QM_GROUP_HANDLE(0x1101), 0x11010001), 1);
  EXPECT_EQ(kernel().through(QM_GROUP_HANDLE(0x1101), QM_CALL_CLOSEHANDLE), 1);
  EXPECT_TRUE(is_loaded("qmlog"));
  EXPECT_EQ(journal("close"), Lines{"qmlog close 0"});
}

TEST_F(ModuleLifetime, LastsToTheEndForAModuleThatRefusedToOpen) {
  configure("tm_plain.open_result=0");
  qm_open_module_w record{QM_W("tm_plain"), nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  configure("");
  EXPECT_TRUE(is_loaded("tm_plain"));
  unload_kernel();
  EXPECT_EQ(journal("unload"), Lines{"tm_plain unload"});
}

// The last close unloads the library; its clean-up code finds a kernel that answers.
TEST_F(ModuleLifetime, MayEndWithCallsToTheKernel) {
  install("tm_unload_calls");
  const std::uint32_t keeps_value_in_use = open(QM_W("tm_plain"));
  const std::uint32_t handle = open(QM_W("tm_unload_calls"));
  clear_journal();
  EXPECT_TRUE(close(handle));
  EXPECT_EQ(journal("tm_unload_calls nested"),
            (Lines{"tm_unload_calls nested 10030000 result=1 error=0",
                   "tm_unload_calls nested 10030002 result=1 error=0",
                   "tm_unload_calls nested 10020000 result=1 error=0",
                   "tm_unload_calls nested 10020000 result=1 error=0",
                   "tm_unload_calls nested 1000f000 result=0 error=2",
                   "tm_unload_calls nested 10030006 result=0 error=2",
                   "tm_unload_calls nested 10030007 result=0 error=2",
                   "tm_unload_calls nested 1000000f result=0 error=16",
                   "tm_unload_calls nested (Closed handle: 00010000, cmd=1000000f, nhs: 1)",
                   "tm_unload_calls nested 10020005 result=1 error=0",
                   "tm_unload_calls nested 10020007 result=1 error=0",
                   "tm_unload_calls nested 10040003 result=1 error=0",
                   "tm_unload_calls nested 10040008 result=1 error=0",
                   "tm_unload_calls nested 10040001 result=1 error=0"}));
  EXPECT_FALSE(is_loaded("tm_unload_calls"));
  // Its clean-up code released the first handle and left one of its own.
  EXPECT_EQ(keeps_value_in_use, 0x10000u);
  EXPECT_TRUE(close(0x10002));
}

// ---- Version information -----------------------------------------------------------------------

TEST_F(ModuleLifetime, IsThatOfItsVersionTexts) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  auto first = poisoned<qm_module_version>();
  ASSERT_EQ(kernel().through(handle, QM_CALL_MODULEVERSIONINFO, &first), 1);
  ASSERT_NE(first.props, nullptr);
  EXPECT_GT(first.props->count, 0u);
  EXPECT_EQ(kernel().live_blocks(), 1);
  qm_module_version second{};
  ASSERT_EQ(kernel().through(handle, QM_CALL_MODULEVERSIONINFO, &second), 1);
  EXPECT_EQ(second.props, first.props) << "read once";
  EXPECT_EQ(kernel().live_blocks(), 1);
  EXPECT_EQ(journal("call"), Lines{}) << "the module is not asked";
  EXPECT_TRUE(close(handle));
  EXPECT_EQ(kernel().live_blocks(), 0);
}

TEST_F(ModuleLifetime, NeedsARecordForTheVersionTexts) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  EXPECT_TRUE(kernel().fails(handle, QM_CALL_MODULEVERSIONINFO, nullptr, failure(22, "(!ptr)")));
  EXPECT_TRUE(close(handle));
}

TEST_F(ModuleLifetime, HasNoVersionTextsWithoutAResource) {
  install("tm_noversion");
  const std::uint32_t handle = open(QM_W("tm_noversion"));
  auto record = poisoned<qm_module_version>();
  EXPECT_TRUE(
      kernel().refuses_through(handle, QM_CALL_MODULEVERSIONINFO, record, failure(2, "(info)")));
  EXPECT_TRUE(close(handle));
}

}  // namespace
}  // namespace contract
