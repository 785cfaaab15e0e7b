// Which libraries are accepted as modules: what they have to export, and what they answer.
#include <vector>

#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

class ModulesValidation : public ModuleTest {
 protected:
  // Refused, and the library is unloaded again.
  void expect_refused(const std::string& module, const Failure& expected) {
    SCOPED_TRACE(module);
    install(module);
    for (int times = 0; times < 2; ++times) {
      clear_journal();
      EXPECT_TRUE(open_fails(widen(module), expected));
      EXPECT_EQ(journal("load"), (Lines{module + " load", module + " unload"}));
      EXPECT_FALSE(is_loaded(module));
    }
    EXPECT_EQ(journal("notice"), Lines{});
  }
};

const char kNoExports[] = "(!qm_call || !qmmoduleinfo)";
const char kNoRecord[] = "(!qmcall || !qmmoduleinfo)";

TEST_F(ModulesValidation, RefusesALibraryThatExportsNothing) {
  expect_refused("tm_nothing", failure(2, kNoExports));
}

TEST_F(ModulesValidation, RefusesALibraryWithACallEntryAlone) {
  expect_refused("tm_callonly", failure(2, kNoExports));
  EXPECT_EQ(journal("info"), Lines{}) << "it is not even asked";
}

TEST_F(ModulesValidation, RefusesForeignIdentifiers) {
  expect_refused("tm_foreign", failure(22, "(module->id)"));
  EXPECT_EQ(journal("info"), Lines{"tm_foreign info"});
}

TEST_F(ModulesValidation, RefusesAForeignExportWithoutARecord) {
  expect_refused("tm_foreign_norecord", failure(2, kNoRecord));
}

TEST_F(ModulesValidation, RefusesAForeignExportWithoutACallEntry) {
  expect_refused("tm_foreign_nocall", failure(2, kNoExports));
}

TEST_F(ModulesValidation, RefusesWithoutAWordWhatRefusesToTellAboutItself) {
  for (const char* module : {"tm_foreign_refuses", "tm_extended_refuses"}) {
    install(module);
    const Text name = widen(module);
    qm_open_module_w record{name.c_str(), nullptr, 0xC3C3C3C3};
    const Error planted = kernel().plant_error();
    EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
    EXPECT_EQ(record.handle, 0u);
    EXPECT_EQ(kernel().error(), planted);
    EXPECT_FALSE(is_loaded(module));
  }
}

TEST_F(ModulesValidation, AcceptsABasicExportWithoutAsking) {
  install("tm_plain");
  EXPECT_TRUE(close(open(QM_W("tm_plain"))));
  EXPECT_EQ(journal("info"), Lines{});
}

TEST_F(ModulesValidation, AcceptsABasicRecordBehindAForeignExport) {
  install("tm_foreign_basic");
  EXPECT_TRUE(close(open(QM_W("tm_foreign_basic"))));
  EXPECT_EQ(journal(), (Lines{"tm_foreign_basic load", "tm_foreign_basic info",
                              "tm_foreign_basic notice entry=1",
                              "tm_foreign_basic open name=tm_foreign_basic group=(null)",
                              "tm_foreign_basic close 1", "tm_foreign_basic unload"}));
}

// ---- The older kind of module ------------------------------------------------------------------

TEST_F(ModulesValidation, CallsAnOlderModuleDirectlyIfItHasABasicRecordToo) {
  install("tm_extended_basic");
  EXPECT_TRUE(close(open(QM_W("tm_extended_basic"), QM_W("fast"))));
  EXPECT_EQ(journal(), (Lines{"tm_extended_basic load", "tm_extended_basic info",
                              "tm_extended_basic notice entry=1",
                              "tm_extended_basic open name=tm_extended_basic group=fast",
                              "tm_extended_basic close 1", "tm_extended_basic unload"}));
}

TEST_F(ModulesValidation, SpeaksTheOlderProtocolWithAllOtherOlderModules) {
  for (const std::string module : {"tm_extended", "tm_extended_foreign", "tm_extended_none"}) {
    SCOPED_TRACE(module);
    install(module);
    EXPECT_TRUE(close(open(widen(module))));
    EXPECT_EQ(journal(module + " old"),
              (Lines{module + " old 0fff0011 0 name=" + module + " group=default",
                     module + " old 0fff0012 1 closes 1"}));
    EXPECT_EQ(journal(module + " notice"), Lines{module + " notice entry=1"});
  }
}

class OlderModule : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_extended");
    handle_ = open(QM_W("tm_extended"), QM_W("fast"));
    clear_journal();
  }
  void TearDown() override {
    EXPECT_TRUE(close(handle_));
    ModuleTest::TearDown();
  }

  std::uint32_t handle_ = 0;
};

TEST_F(OlderModule, IsOpenedWithItsGroup) {
  const std::uint32_t second = open(QM_W("tm_extended"), QM_W("slow"));
  EXPECT_EQ(journal(), Lines{"tm_extended old 0fff0011 0 name=tm_extended group=slow"});
  EXPECT_TRUE(close(second));
  const std::uint32_t third = open(QM_W("tm_extended"), QM_W(""));
  EXPECT_EQ(journal().back(), "tm_extended old 0fff0011 0 name=tm_extended group=default");
  EXPECT_TRUE(close(third));
}

TEST_F(OlderModule, IsAskedForItsInformationInItsOwnWay) {
  qm_info_request request{};
  EXPECT_EQ(kernel().through(handle_, QM_CALL_GETKERNELINFO, &request), 1);
  EXPECT_NE(request.info, nullptr);
  EXPECT_EQ(journal(), Lines{"tm_extended old 0fff0013 0"});
}

TEST_F(OlderModule, GetsSomeCodesUnchanged) {
  set(handle_, TM_CALL_RESULT, 7);
  Lines expected;
  for (const std::uint32_t code :
       {0x10030003u, 0x10030007u, 0x1003000Cu, 0x1003000Du, 0x10030010u, 0x10030013u, 0x1003FFFEu,
        0x1000000Fu, 0x10040000u, 0x20FF0001u}) {
    EXPECT_EQ(kernel().through(handle_, code), 1);
    expected.push_back("tm_extended old " + printable(text_of("%08x 1", code)));
  }
  EXPECT_EQ(journal(), expected);
}

TEST_F(OlderModule, DoesNotGetTheKernelsOtherModuleCodes) {
  for (const std::uint32_t code : {0x10030001u, 0x10030005u, 0x10030008u, 0x10030009u, 0x1003000Au,
                                   0x1003000Bu, 0x1003000Eu, 0x1003000Fu}) {
    auto record = poisoned<std::array<std::uint32_t, 6>>();
    EXPECT_TRUE(
        kernel().refuses_through(handle_, code, record, failure(22, "(old error=00000000)")));
  }
  EXPECT_EQ(journal(), Lines{});
}

TEST_F(OlderModule, ReportsItsErrorsThroughTheKernel) {
  set(handle_, TM_OLD_RESULT, 0x22);
  EXPECT_TRUE(open_fails(QM_W("tm_extended"), failure(0x22, "(old error=00000022)")));
  qm_info_request request{};
  EXPECT_TRUE(kernel().fails(handle_, QM_CALL_GETKERNELINFO, &request,
                             failure(0x22, "(old error=00000022)")));
  set(handle_, TM_OLD_RESULT, -1);
  EXPECT_TRUE(open_fails(QM_W("tm_extended"), failure(-1, "(old error=ffffffff)")));
  // Releasing the handle succeeds all the same; the error of the failed close stays visible.
  const std::uint32_t kept = handle_;
  EXPECT_TRUE(close(kept));
  EXPECT_TRUE(kernel().has_error(failure(-1, "(old error=ffffffff)")));
  install("tm_plain");
  handle_ = open(QM_W("tm_plain"));
}

TEST_F(OlderModule, ResolvesToItsOwnEntry) {
  const qm_resolve_handle resolved = resolve(handle_);
  ASSERT_NE(reinterpret_cast<void*>(resolved.entry), nullptr);
  EXPECT_EQ(resolved.entry(resolved.owner_handle, 0x20FF0001, nullptr), 1);
  EXPECT_EQ(journal(), Lines{"tm_extended old 20ff0001 1"});
  EXPECT_FALSE(close(handle_));
}

}  // namespace
}  // namespace contract
