// The library's life in its process: loading, freeing, loading again, and what its end closes.
#include <atomic>
#include <thread>

#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

class StartAndEnd : public ModuleTest {
 protected:
  void SetUp() override {
    for (const char* name : {"tm_plain", "tm_a1", "tm_m1", "tm_z1"}) install_as("tm_plain", name);
    ModuleTest::SetUp();
  }
};

TEST_F(StartAndEnd, BeginAnewEachTimeTheLibraryIsLoaded) {
  for (int times = 0; times < 3; ++times) {
    load_kernel();
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    EXPECT_EQ(open(QM_W("tm_plain")), 0x10000u);
    EXPECT_EQ(open(QM_W("tm_plain")), 0x10001u);
    allocate(100);
    kernel().plant_error();
    kernel()(QM_CALL_PUSHERROR);
  }
  unload_kernel();
}

TEST_F(StartAndEnd, ManyTimesOver) {
  for (int times = 0; times < 200; ++times) {
    load_kernel();
    ASSERT_EQ(kernel()(QM_CALL_NOP), 1);
    allocate(10);
    kernel().plant_error();
  }
  unload_kernel();
}

TEST_F(StartAndEnd, CloseWhatIsOpenOldestFirst) {
  open(QM_W("tm_z1"));
  open(QM_W("tm_a1"));
  open(QM_W("tm_z1"));
  EXPECT_TRUE(close(open(QM_W("tm_m1"))));
  open(QM_W("tm_m1"));
  clear_journal();
  unload_kernel();
  EXPECT_EQ(journal("close"),
            (Lines{"tm_z1 close 1", "tm_a1 close 1", "tm_z1 close 2", "tm_m1 close 1"}));
  EXPECT_EQ(journal("unload").size(), 3u);
}

TEST_F(StartAndEnd, CloseAHandleOnceWhateverItsReferences) {
  qm_handle_ref record{open(QM_W("tm_plain"))};
  for (int times = 0; times < 5; ++times) EXPECT_EQ(kernel()(QM_CALL_REFHANDLE, &record), 1);
  clear_journal();
  unload_kernel();
  EXPECT_EQ(journal("close"), Lines{"tm_plain close 1"});
}

TEST_F(StartAndEnd, CloseWhatIsOpenedMeanwhile) {
  open(QM_W("tm_a1"));
  set(open(QM_W("tm_m1")), TM_CLOSE_OPENS, 1);
  open(QM_W("tm_z1"));
  clear_journal();
  unload_kernel();
  EXPECT_EQ(journal("close"),
            (Lines{"tm_a1 close 1", "tm_m1 close 1", "tm_z1 close 1", "tm_m1 close 2"}));
}

TEST_F(StartAndEnd, EndEvenIfAModuleNeverStopsOpening) {
  set(open(QM_W("tm_plain")), TM_CLOSE_OPENS, 1000000);
  clear_journal();
  unload_kernel();
  const std::size_t closes = journal("close").size();
  EXPECT_GE(closes, 1000u);
  EXPECT_LE(closes, 1010u);
}

TEST_F(StartAndEnd, UnloadModulesThatNoHandleHolds) {
  install("qmtm_family");
  EXPECT_TRUE(close(open(QM_W("qmtm_family"))));
  configure("tm_a1.open_result=0");
  qm_open_module_w refused{QM_W("tm_a1"), nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &refused), 0);
  unload_kernel();
  EXPECT_EQ(journal("tm_a1 unload").size(), 1u);
  EXPECT_EQ(journal("qmtm_family unload").size(), 1u);
}

TEST_F(StartAndEnd, ReleaseTheVersionTextsOfModules) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_module_version record{};
  EXPECT_EQ(kernel().through(handle, QM_CALL_MODULEVERSIONINFO, &record), 1);
  unload_kernel();
}

// ---- Threads -----------------------------------------------------------------------------------

TEST_F(StartAndEnd, ServeThreadsOlderThanTheLibrary) {
  unload_kernel();
  std::atomic<bool> loaded{false};
  std::thread older([&] {
    while (!loaded) std::this_thread::yield();
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    EXPECT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
    EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
    EXPECT_EQ(kernel().error().code, 22);
  });
  load_kernel();
  loaded = true;
  older.join();
}

#ifndef __SANITIZE_ADDRESS__  // what such a thread had is given up, which is a leak by its nature

TEST_F(StartAndEnd, ForgetTheErrorsOfThreadsThatOutliveTheLibrary) {
  std::atomic<int> step{0};
  const auto wait_for = [&step](int wanted) {
    while (step < wanted) std::this_thread::yield();
  };
  std::thread outliving([&] {
    kernel().plant_error();
    kernel()(QM_CALL_PUSHERROR);
    step = 1;
    wait_for(2);
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
  });
  wait_for(1);
  load_kernel();
  step = 2;
  outliving.join();
}

#endif

}  // namespace
}  // namespace contract
