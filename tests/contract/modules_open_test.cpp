// Opening a module: what the module is told, what the caller's record holds afterwards, where the
// library is looked for.
#include <clocale>
#include <fstream>
#include <thread>

#include "tests/contract/support/module_test.h"
#include "tests/contract/support/system_folder.h"

namespace contract {
namespace {

class ModulesOpen : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
  }
};

// ---- What the module sees ----------------------------------------------------------------------

TEST_F(ModulesOpen, TellTheModuleTheKernelsEntryFirst) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  EXPECT_EQ(journal(), (Lines{"tm_plain load", "tm_plain notice entry=1",
                              "tm_plain open name=tm_plain group=(null)"}));
  EXPECT_TRUE(close(handle));
}

TEST_F(ModulesOpen, LoadOnceAndGiveEachCallerAnInstance) {
  const std::uint32_t first = open(QM_W("tm_plain"));
  const std::uint32_t second = open(QM_W("tm_plain"));
  EXPECT_NE(first, second);
  EXPECT_EQ(resolve(first).owner_handle, 1u);
  EXPECT_EQ(resolve(second).owner_handle, 2u);
  EXPECT_EQ(journal("load"), Lines{"tm_plain load"});
  EXPECT_EQ(journal("notice"), Lines{"tm_plain notice entry=1"});
  for (const std::uint32_t handle : {first, second}) {
    EXPECT_FALSE(close(handle));
    EXPECT_TRUE(close(handle));
  }
}

TEST_F(ModulesOpen, PassTheGroupOn) {
  for (const qm_wchar* group : {QM_W("fast"), QM_W("")}) {
    clear_journal();
    EXPECT_TRUE(close(open(QM_W("tm_plain"), group)));
    EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=" + printable(group)});
  }
}

TEST_F(ModulesOpen, PassWideCharactersOn) {
  const qm_wchar group[] = {0x41, 0xD83D, 0xDE00, 0x20AC, 0};
  EXPECT_TRUE(close(open(QM_W("tm_plain"), group)));
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=A\\uD83D\\uDE00\\u20AC"});
}

TEST_F(ModulesOpen, GiveTheModuleTheCallersFurtherFields) {
  configure("tm_plain.open_fields=1");
  const Text name = QM_W("tm_plain");
  const Text group = QM_W("fast");
  for (int times = 0; times < 2; ++times) {
    tm_open_module record{{name.c_str(), group.c_str(), 0}, 41, 99};
    EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 1);
    EXPECT_EQ(record.open.name, name.c_str());
    EXPECT_EQ(record.open.group, group.c_str());
    EXPECT_EQ(record.first, 42u);
    EXPECT_EQ(record.second, 100u);
    EXPECT_TRUE(close(record.open.handle));
  }
  EXPECT_EQ(journal("fields"), (Lines{"tm_plain open fields=41,99", "tm_plain open fields=41,99"}));
}

TEST_F(ModulesOpen, ShowTheModuleNoHandle) {
  qm_open_module_w record{QM_W("tm_plain"), nullptr, 0xC3C3C3C3};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=(null)"});
  EXPECT_TRUE(close(record.handle));
}

TEST_F(ModulesOpen, ShowTheModuleAWideRecordForANarrowOne) {
  const std::string name = "tm_plain";
  const std::string group = "fast";
  qm_open_module_a record{name.c_str(), group.c_str(), 0xC3C3C3C3};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_EQ(record.name, name.c_str());
  EXPECT_EQ(record.group, group.c_str());
  EXPECT_EQ(record.handle, 0x10000u);
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=fast"});
  EXPECT_TRUE(close(record.handle));
  record.group = nullptr;
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_EQ(journal("open").back(), "tm_plain open name=tm_plain group=(null)");
  EXPECT_TRUE(close(record.handle));
}

TEST_F(ModulesOpen, TakeNarrowTextsAsFarAsTheyAreText) {
#ifdef _WIN32
  ASSERT_NE(std::setlocale(LC_CTYPE, "Japanese_Japan.932"), nullptr);
  const std::string no_text = "\x81";  // the first half of a character
#else
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  const std::string no_text = "\xFF more";
#endif
  const std::string name = "tm_plain" + no_text;
  const std::string group = "fast" + no_text;
  qm_open_module_a record{name.c_str(), group.c_str(), 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=fast"});
  EXPECT_TRUE(close(record.handle));
}

TEST_F(ModulesOpen, LeaveFieldsBehindANarrowRecordAlone) {
  configure("tm_plain.open_fields=0");
  struct {
    qm_open_module_a open{"tm_plain", nullptr, 0};
    std::uint32_t behind = 0xC3C3C3C3;
  } record;
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_EQ(record.behind, 0xC3C3C3C3u);
  EXPECT_TRUE(close(record.open.handle));
}

TEST_F(ModulesOpen, ForwardANarrowOpenThroughAHandleAsItIs) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  qm_open_module_a record{"tm_plain", nullptr, 0xC3C3C3C3};
  EXPECT_EQ(kernel().through(handle, QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_EQ(record.handle, 0xC3C3C3C3u);
  EXPECT_EQ(journal(), Lines{"tm_plain call 10030001 1"});
  EXPECT_TRUE(close(handle));
}

// ---- Failures ----------------------------------------------------------------------------------

TEST_F(ModulesOpen, NeedAName) {
  const Failure no_name = failure(22, "(!ptr || !name)");
  const Text group = QM_W("group");
  qm_open_module_w wide{nullptr, group.c_str(), 0xC3C3C3C3};
  EXPECT_TRUE(kernel().fails(QM_CALL_OPENMODULEW, &wide, no_name));
  EXPECT_EQ(wide.name, nullptr);
  EXPECT_EQ(wide.group, group.c_str());
  EXPECT_EQ(wide.handle, 0u);
  qm_open_module_a narrow{nullptr, "group", 0xC3C3C3C3};
  EXPECT_TRUE(kernel().fails(QM_CALL_OPENMODULEA, &narrow, no_name));
  EXPECT_EQ(narrow.name, nullptr);
  EXPECT_STREQ(narrow.group, "group");
  EXPECT_EQ(narrow.handle, 0u);
}

TEST_F(ModulesOpen, FailForALibraryThatIsNotThere) {
  EXPECT_TRUE(open_fails(QM_W("tm_absent"), cannot_load("tm_absent")));
  EXPECT_TRUE(open_fails(QM_W("tm_absent"), QM_W("group"), cannot_load("tm_absent")));
  EXPECT_TRUE(open_fails(QM_W(""), cannot_load("")));
  qm_open_module_a narrow{"tm_absent", nullptr, 0xC3C3C3C3};
  EXPECT_TRUE(kernel().fails(QM_CALL_OPENMODULEA, &narrow, cannot_load("tm_absent")));
  EXPECT_EQ(narrow.handle, 0u);
}

TEST_F(ModulesOpen, TellTheSystemsReasonInOneLine) {
  EXPECT_TRUE(open_fails(QM_W("tm_absent"), cannot_load("tm_absent")));
  const Text message = kernel().error().message;
  const auto at = message.find(QM_W("('tm_absent'->'"));
  ASSERT_NE(at, Text::npos);
  const Text reason = message.substr(at + 15);
  ASSERT_GT(reason.size(), 3u);
  EXPECT_EQ(reason.substr(reason.size() - 2), QM_W("')"));
  EXPECT_GT(reason[reason.size() - 3], 0x20);
}

TEST_F(ModulesOpen, FailForANameThatIsTooLong) {
  const Text name(3000, QM_W('x'));
  qm_open_module_w record{name.c_str(), name.c_str(), 0xC3C3C3C3};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  EXPECT_EQ(record.handle, 0u);
  EXPECT_EQ(kernel().error().code, 0x1000);
}

TEST_F(ModulesOpen, TreatTheNameAsTextAndNotAsAFormat) {
  for (const char* name : {"a%sb%i", "%n%n", "%ls"}) {
    EXPECT_TRUE(open_fails(widen(name), cannot_load(name)));
  }
}

TEST_F(ModulesOpen, KeepAModuleLoadedThatRefused) {
  configure("tm_plain.open_result=0");
  qm_open_module_w record{QM_W("tm_plain"), nullptr, 0xC3C3C3C3};
  const Error planted = kernel().plant_error();
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  EXPECT_EQ(record.handle, 0u);
  EXPECT_EQ(kernel().error(), planted) << "the error is the module's business";
  EXPECT_TRUE(is_loaded("tm_plain"));
  EXPECT_EQ(kernel().live_handles(), 0);
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  EXPECT_EQ(journal("load"), Lines{"tm_plain load"});
  EXPECT_EQ(journal("notice").size(), 1u);
  EXPECT_EQ(journal("close"), Lines{});
}

TEST_F(ModulesOpen, IgnoreTheResultOfTheNotice) {
  configure("tm_plain.notice_result=0");
  EXPECT_TRUE(close(open(QM_W("tm_plain"))));
}

TEST_F(ModulesOpen, TakeAnyOtherResultThanZeroForSuccess) {
  configure("tm_plain.open_result=-7");
  qm_open_module_w record{QM_W("tm_plain"), nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_TRUE(close(record.handle));
}

// The new handle may be guessed; it is gone then, and the module's instance is closed with it.
TEST_F(ModulesOpen, FailWhenTheNewHandleIsReleasedMeanwhile) {
  configure("tm_plain.open_releases=0x10000");
  qm_open_module_w record{QM_W("tm_plain"), nullptr, 0xC3C3C3C3};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  EXPECT_EQ(record.handle, 0u);
  EXPECT_NE(kernel().error().code, 0);
  EXPECT_EQ(journal("close"), Lines{"tm_plain close 1"});
  EXPECT_EQ(kernel().live_handles(), 0);
}

TEST_F(ModulesOpen, FailForAModuleWithoutACallEntry) {
  install("tm_nullcall");
  for (int times = 0; times < 2; ++times) {
    EXPECT_TRUE(open_fails(QM_W("tm_nullcall"), failure(2, "('tm_nullcall' -> qm_call?)")));
  }
  EXPECT_EQ(journal("tm_nullcall load"), Lines{"tm_nullcall load"}) << "it stays loaded";
  EXPECT_EQ(journal("tm_nullcall unload"), Lines{});
}

// ---- Where libraries are looked for ------------------------------------------------------------

TEST_F(ModulesOpen, TakeNamesAsTheyAre) {
  for (const char* name : {"tm.v2", "tm plain", "Tm_Mixed", "tm_plain.so", "tm_plain.dll"}) {
    install_as("tm_plain", name);
    EXPECT_TRUE(close(open(widen(name)))) << name;
  }
}

TEST_F(ModulesOpen, FindALibraryInAFolderBelow) {
  install_as("tm_plain", "below/tm_deep");
#ifdef _WIN32
  EXPECT_TRUE(close(open(QM_W("below\\tm_deep"))));
#else
  EXPECT_TRUE(close(open(QM_W("below/tm_deep"))));
#endif
}

class ModulesInTheSystemsFolder : public ModulesOpen {
 protected:
  void SetUp() override {
    if (!SystemFolder::may_be_written()) {
      GTEST_SKIP() << "built for the machine's own system directory";
    }
    ModulesOpen::SetUp();
  }
};

TEST_F(ModulesInTheSystemsFolder, AreFound) {
  SystemFolder system;
  const std::string name = system.install("tm_plain", "open");
  EXPECT_TRUE(close(open(widen(name))));
}

TEST_F(ModulesInTheSystemsFolder, AreHiddenByOthersOfTheirName) {
  SystemFolder system;
  const std::string name = system.install("tm_plain", "prefer");
  install_as("tm_other", name);
  const std::uint32_t handle = open(widen(name));
  EXPECT_TRUE(is_loaded(name)) << "from the current directory";
  EXPECT_TRUE(close(handle));
}

TEST_F(ModulesInTheSystemsFolder, AreTakenWhenTheFirstFileIsUnfit) {
  SystemFolder system;
  const std::string name = system.install("tm_plain", "unfit");
  std::ofstream(folder().file(name + kLibraryExtension)) << "this is no library\n";
  EXPECT_TRUE(close(open(widen(name))));
}

TEST_F(ModulesOpen, ShowTheReasonOfTheSecondAttempt) {
  std::ofstream(folder().file(std::string("tm_bad") + kLibraryExtension)) << "this is no library\n";
  EXPECT_TRUE(open_fails(QM_W("tm_bad"), cannot_load("tm_bad")));
}

TEST_F(ModulesInTheSystemsFolder, MayBeUnfit) {
  SystemFolder system;
  const std::string name = system.unfit_file("bad");
  EXPECT_TRUE(open_fails(widen(name), cannot_load(name)));
}

#ifdef _WIN32  // where files have no case, but names of modules have

TEST_F(ModulesOpen, TellNamesApartByTheirCase) {
  const std::uint32_t small = open(QM_W("tm_plain"));
  const std::uint32_t large = open(QM_W("TM_PLAIN"));
  EXPECT_EQ(resolve(small).library, resolve(large).library);
  EXPECT_EQ(journal("notice").size(), 2u) << "two modules in one library";
  for (const std::uint32_t handle : {small, large}) {
    EXPECT_TRUE(is_loaded("tm_plain"));
    EXPECT_FALSE(close(handle));
    EXPECT_TRUE(close(handle));
  }
  EXPECT_FALSE(is_loaded("tm_plain"));
}

#endif

// ---- More than one at a time -------------------------------------------------------------------

TEST_F(ModulesOpen, FailForAModuleThatOpensItselfBeforeItIsReady) {
  install("tm_selfopen");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(close(open(QM_W("tm_selfopen"))));
  EXPECT_LT(elapsed_since(start).count(), 3500);
  EXPECT_EQ(journal("nested"), Lines{"tm_selfopen nested 10030000 result=0 error=10"});
  EXPECT_EQ(journal("open name").size(), 1u);
}

TEST_F(ModulesOpen, FailForAModuleThatOpensItselfWhileItIsLoaded) {
  install("tm_loadopen");
  const ScopedVariable entry("TM_KERNEL",
                             pointer_digits(reinterpret_cast<const void*>(kernel().entry())));
  EXPECT_TRUE(close(open(QM_W("tm_loadopen"))));
  EXPECT_EQ(journal("nested"), Lines{"tm_loadopen nested 10030000 result=0 error=10"});
}

}  // namespace
}  // namespace contract
