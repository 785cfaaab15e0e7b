// How a process ends that still uses the kernel: handles open, threads killed where they were,
// libraries that call once more.
#include "tests/contract/support/host_process.h"
#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

constexpr int kAsPlanned = 42;
constexpr std::chrono::seconds kLimit{20};
// Far below the sleep of the threads that are left behind, far above what a busy machine needs.
constexpr std::chrono::seconds kAtOnce{8};

class ProcessEnd : public ModuleTest {
 protected:
  void SetUp() override {  // the kernel is loaded by the other process only
    install("tm_plain");
    for (const char* name : {"tm_a1", "tm_m1", "tm_z1"}) install_as("tm_plain", name);
    install("tmc_closed");
  }
};

TEST_F(ProcessEnd, ClosesWhatIsOpenOldestFirst) {
  EXPECT_EQ(run_host("leaves_handles_open", kLimit).exit_code, kAsPlanned);
  EXPECT_EQ(journal("close"), (Lines{"tm_z1 close 1", "tm_a1 close 1", "tm_m1 close 1"}));
}

TEST_F(ProcessEnd, DoesNotWaitForAThreadInsideAModule) {
  // A module that has not come to the end of the notice is still being loaded.
  for (const char* sleep : {"tm_plain.notice_sleep=60000", "tm_plain.open_sleep=60000"}) {
    configure(sleep);
    const HostResult opening = run_host("leaves_a_thread_in_an_open", kLimit);
    EXPECT_EQ(opening.exit_code, kAsPlanned) << sleep;
    EXPECT_LT(opening.lasted, kAtOnce) << sleep;
  }
  configure("");
  const HostResult calling = run_host("leaves_a_thread_in_a_call", kLimit);
  EXPECT_EQ(calling.exit_code, kAsPlanned);
  EXPECT_LT(calling.lasted, kAtOnce);
}

#ifdef _WIN32  // elsewhere threads live on while the process ends: calling then is a host's mistake

TEST_F(ProcessEnd, DoesNotWaitForLocksOfKilledThreads) {
  for (int times = 0; times < 10; ++times) {
    const HostResult result = run_host("leaves_busy_threads", kLimit);
    EXPECT_EQ(result.exit_code, kAsPlanned);
    EXPECT_LT(result.lasted, kAtOnce);
  }
}

TEST_F(ProcessEnd, DoesNotLetModulesWaitForLocksOfKilledThreads) {
  install("tm_unload_calls");
  for (int times = 0; times < 5; ++times) {
    clear_journal();
    const HostResult result = run_host("leaves_busy_threads_and_a_caller", kLimit);
    EXPECT_EQ(result.exit_code, kAsPlanned);
    EXPECT_LT(result.lasted, kAtOnce);
    EXPECT_GT(journal("tm_unload_calls nested").size(), 10u) << "all calls came back";
  }
}

TEST_F(ProcessEnd, DoesNotWaitForModulesThatKilledThreadsWereLoading) {
  // The threads are not to be killed in the middle of file work.
  const ScopedVariable no_journal("TM_JOURNAL", std::nullopt);
  for (int times = 0; times < 3; ++times) {
    const HostResult result = run_host("leaves_loading_threads", kLimit);
    EXPECT_EQ(result.exit_code, kAsPlanned);
    EXPECT_LT(result.lasted, kAtOnce);
  }
}

#endif

const Lines kAnswersOfAClosedKernel = {
    "tmc_closed wide null record 2",
    "tmc_closed wide without buffer 2 code 2",
    "tmc_closed wide -1: 2 code 2 ####################",
    "tmc_closed wide 0: 2 code 2 ####################",
    "tmc_closed wide 1: 2 code 2 .###################",
    "tmc_closed wide 5: 2 code 2 qmsd.###############",
    "tmc_closed wide 200: 2 code 2 qmsd has been closed already",
    "tmc_closed narrow null record 2",
    "tmc_closed narrow without buffer 2 code 2",
    "tmc_closed narrow -1: 2 code 2 ####################",
    "tmc_closed narrow 0: 2 code 2 ####################",
    "tmc_closed narrow 1: 2 code 2 .###################",
    "tmc_closed narrow 5: 2 code 2 qmsd.###############",
    "tmc_closed narrow 200: 2 code 2 qmsd has been closed already",
    "tmc_closed wide through a handle 2",
    "tmc_closed narrow through a group 2",
    "tmc_closed other codes 0, 0 of them touched their record"};

TEST_F(ProcessEnd, LeavesAKernelThatOnlyReadsErrors) {
  EXPECT_EQ(run_host("leaves_a_caller_behind", kLimit).exit_code, kAsPlanned);
  EXPECT_EQ(journal("tmc_closed"), kAnswersOfAClosedKernel);
}

#ifdef _WIN32  // elsewhere the loader unmaps the kernel before it runs the modules' clean-up code

TEST_F(ProcessEnd, IsNoDifferentForAModuleUnloadedWithTheKernel) {
  load_kernel();
  open(QM_W("tmc_closed"));
  unload_kernel();
  EXPECT_EQ(journal("tmc_closed"), kAnswersOfAClosedKernel);
}

TEST_F(ProcessEnd, IsNoDifferentForCleanUpCodeThatOpensModules) {
  install("tm_unload_calls");
  load_kernel();
  open(QM_W("tm_unload_calls"));
  unload_kernel();
  EXPECT_EQ(journal("nested"), (Lines{"tm_unload_calls nested 10030000 result=0 error=2",
                                      "tm_unload_calls nested 10030002 result=0 error=2",
                                      "tm_unload_calls nested 10020000 result=0 error=2",
                                      "tm_unload_calls nested 1000f000 result=0 error=2",
                                      "tm_unload_calls nested 10030006 result=0 error=2",
                                      "tm_unload_calls nested 10030007 result=0 error=2",
                                      "tm_unload_calls nested 1000000f result=0 error=2",
                                      "tm_unload_calls nested qmsd has been closed already",
                                      "tm_unload_calls nested 10020005 result=0 error=2",
                                      "tm_unload_calls nested 10040003 result=0 error=2"}));
}

#endif

}  // namespace
}  // namespace contract
