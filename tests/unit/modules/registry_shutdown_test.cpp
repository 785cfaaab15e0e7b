// Unloading what is left at shutdown, and the statistics of what is there.
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include "modules/registry.h"
#include "services/tables/group_table.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

#ifdef __SANITIZE_ADDRESS__
using LeakAllowed = __lsan::ScopedDisabler;
#else
struct LeakAllowed {};
#endif

class Shutdown : public ModuleTest {
 protected:
  // What the shutdown left loaded: its own use goes, and the one that finding it takes.
  static void unload_abandoned(const qm_wchar* name) {
    platform::LoadFailure failure;
    const WideString file = WideString(name) + platform::kLibraryExtension;
    const platform::Library library = platform::open_library(file.c_str(), failure);
    ASSERT_TRUE(library);
    platform::close_library(library);
    platform::close_library(library);
  }
};

TEST_F(Shutdown, UnloadsWhateverTheUses) {
  install("qmtm_family");
  start();
  const std::uint32_t first = open("qmtm_family");
  const std::uint32_t second = open("qmtm_family");
  close(second);
  EXPECT_NE(first, 0u);
  journal();
  stop();
  EXPECT_EQ(journal(), (Lines{"qmtm_family close 1", "qmtm_family unload"}));
}

TEST_F(Shutdown, GoesUpTheAlphabet) {
  for (const char* name : {"qm_m", "qm_a", "qm_z"}) install("tm_plain", name);
  start();
  for (const char* name : {"qm_m", "qm_a", "qm_z"}) close(open(name));
  journal();
  stop();
  EXPECT_EQ(journal(), (Lines{"qm_a unload", "qm_m unload", "qm_z unload"}));
}

TEST_F(Shutdown, OrdersAliasesByTheNameThatWasAsked) {
  for (const char* name : {"qm_m", "qm_z"}) install("tm_plain", name);
  install_store("/default/a=qm_z");
  start();
  close(open("qm_m"));
  close(open("a"));
  journal();
  stop();
  const Lines lines = journal();
  EXPECT_EQ(lines, (Lines{"qm_z unload", "qm_m unload", "qmproperty unload"}));
}

TEST_F(Shutdown, UnloadCodeMayCallTheKernel) {
  install("tm_unload_calls", "qm_calls");
  install("tm_plain");
  start();
  close(open("qm_calls"));
  journal();
  stop();
  // There are no handles any more, so nothing opens; releasing has nothing to do; the rest works.
  EXPECT_EQ(
      journal(),
      (Lines{
          "qm_calls unload", "qm_calls nested 10030000 result=0 error=c",
          "qm_calls nested 10030002 result=1 error=0", "qm_calls nested 10020000 result=1 error=0",
          "qm_calls nested 10020000 result=1 error=0", "qm_calls nested 1000f000 result=0 error=16",
          "qm_calls nested 10030006 result=0 error=2", "qm_calls nested 10030007 result=1 error=0",
          "qm_calls nested 1000000f result=0 error=16",
          "qm_calls nested (Closed handle: 00010000, cmd=1000000f, nhs: 0)",
          "qm_calls nested 10020005 result=1 error=0", "qm_calls nested 10020007 result=1 error=0",
          "qm_calls nested 10040003 result=1 error=0", "qm_calls nested 10040008 result=1 error=0",
          "qm_calls nested 10040001 result=1 error=0"}));
}

TEST_F(Shutdown, UnloadCodeMayCallTheKernelBeforeTheEndToo) {
  install("tm_unload_calls");
  install("tm_plain");
  start();
  close(open("tm_unload_calls"));
  const Lines lines = journal();
  EXPECT_EQ(count_of(lines, "tm_unload_calls unload"), 1);
  EXPECT_EQ(count_of(lines, "tm_unload_calls nested 10030000 result=1 error=0"), 1);
  EXPECT_EQ(count_of(lines, "tm_plain open name=tm_plain group=(null)"), 1);
}

// Each of the two loads the other while it is being unloaded.
TEST_F(Shutdown, EndsAlthoughModulesKeepLoadingOthers) {
  for (const char* name : {"qm_ping", "qm_pong"}) install("tm_plain", name);
  set_environment("TM_SETTINGS", "qm_ping.unload_calls=0x2F02 qm_pong.unload_calls=0x2F01");
  start();
  groups_set(0x2F01, QM_W("qm_ping"));
  groups_set(0x2F02, QM_W("qm_pong"));
  EXPECT_EQ(qm_call(QM_GROUP_HANDLE(0x2F01), 0x2F000001, nullptr), 1);
  {
    [[maybe_unused]] const LeakAllowed abandoned;
    stop();
  }
  const Lines lines = journal();
  EXPECT_EQ(count_of(lines, "qm_ping unload") + count_of(lines, "qm_pong unload"), 1000);
  unload_abandoned(QM_W("qm_ping"));
}

TEST_F(Shutdown, NewLifeLoadsAnew) {
  install("qmtm_family");
  for (int life = 0; life < 2; ++life) {
    start();
    close(open("qmtm_family"));
    stop();
    const Lines lines = journal();
    EXPECT_EQ(lines.front(), "qmtm_family load");
    EXPECT_EQ(lines.back(), "qmtm_family unload");
  }
}

// The changes shown by a statistics line are those since the line before it.
class Statistics : public ModuleTest {
 protected:
  static std::string line() { return registry_statistics().c_str(); }
  static std::string expected(int count, int count_change, int size, int size_change) {
    char text[160];
    std::snprintf(text, sizeof text, "[QMMODULES] nmodules: %i (%i), allsize: %i (%i) bytes\n",
                  count, count_change, size, size_change);
    return text;
  }
};

TEST_F(Statistics, CountRecordsAndTheirTexts) {
  install("tm_plain");
  install("tm_plain", "a");
  start();
  line();
  EXPECT_EQ(line(), expected(0, 0, 52, 0));
  const std::uint32_t first = open("tm_plain");
  EXPECT_EQ(line(), expected(1, 1, 52 + 1100 + 18, 1100 + 18));
  EXPECT_EQ(line(), expected(1, 0, 52 + 1100 + 18, 0));
  const std::uint32_t second = open("a");
  EXPECT_EQ(line(), expected(2, 1, 52 + 2200 + 18 + 4, 1100 + 4));
  close(first);
  close(second);
  EXPECT_EQ(line(), expected(0, -2, 52, -(2200 + 18 + 4)));
}

TEST_F(Statistics, CountTheTextsOfAnAlias) {
  install("tm_plain");
  install_store("/default/viewer=tm_plain : fast\n/default/reader=tm_plain");
  start();
  line();
  const int store = 52 + 1100 + 22;
  EXPECT_EQ(line(), expected(1, 0, store, 0));
  const std::uint32_t viewer = open("viewer");
  const int with_group = 1100 + 14 + 18 + 10;
  EXPECT_EQ(line(), expected(2, 1, store + with_group, with_group));
  close(viewer);
  const std::uint32_t reader = open("reader");
  const int without_group = 1100 + 14 + 18 + 2;
  EXPECT_EQ(line(), expected(2, 0, store + without_group, without_group - with_group));
  close(reader);
}

}  // namespace
}  // namespace qmsd
