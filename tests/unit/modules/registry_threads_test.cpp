// Many threads at one registry.
#include <atomic>
#include <chrono>
#include <thread>

#include "modules/registry.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

using Clock = std::chrono::steady_clock;

class Threads : public ModuleTest {
 protected:
  template <class Work>
  static void run(int count, Work work) {
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
      threads.emplace_back([number, &waiting, &work] {
        --waiting;
        while (waiting > 0) std::this_thread::yield();
        work(number);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }

  // Waits until a module has told so.
  void wait_for(const std::string& line) {
    while (count_of(journal(), line) == 0) std::this_thread::yield();
  }
};

TEST_F(Threads, LoadAModuleOnce) {
  install("tm_plain");
  set_environment("TM_SETTINGS", "tm_plain.load_sleep=50");
  start();
  std::uint32_t handles[8] = {};
  run(8, [&handles](int number) { handles[number] = open("tm_plain"); });
  const Lines lines = journal();
  EXPECT_EQ(count_of(lines, "tm_plain load"), 1);
  EXPECT_EQ(count_of(lines, "tm_plain notice entry=1"), 1);
  EXPECT_EQ(count_of(lines, "tm_plain open name=tm_plain group=(null)"), 8);
  for (const std::uint32_t handle : handles) close(handle);
  EXPECT_EQ(journal().back(), "tm_plain unload");
}

TEST_F(Threads, WaitUntilTheModuleHasBeenToldTheEntry) {
  install("tm_slownotice");
  start();
  std::uint32_t handles[2] = {};
  run(2, [&handles](int number) { handles[number] = open("tm_slownotice"); });
  const Lines lines = journal();
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines[1], "tm_slownotice notice entry=1");
  EXPECT_EQ(lines[2], "tm_slownotice notice done");
  for (const std::uint32_t handle : handles) close(handle);
}

TEST_F(Threads, GiveUpOnALoaderAfterTwoSeconds) {
  install("tm_plain");
  set_environment("TM_SETTINGS", "tm_plain.notice_sleep=3200");
  start();
  std::uint32_t handle = 0;
  std::thread loader([&handle] { handle = open("tm_plain"); });
  wait_for("tm_plain notice entry=1");
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(open("tm_plain"), 0u);
  const std::chrono::duration<double> waited = Clock::now() - begin;
  EXPECT_ERROR(QM_ERROR_BUSY, QM_W("('tm_plain')"));
  EXPECT_GE(waited.count(), 1.99);
  EXPECT_LT(waited.count(), 2.6);
  loader.join();
  EXPECT_NE(handle, 0u);
  close(handle);
}

TEST_F(Threads, OpenDistinctAliasedModulesAtOnce) {
  std::string store;
  for (int number = 0; number < 8; ++number) {
    const std::string name = std::to_string(number);
    install("tm_plain", "target" + name);
    store += "/default/alias" + name + "=target" + name + " : group" + name + "\n";
  }
  install_store(store);
  start();
  run(8, [](int number) {
    const std::string name = std::to_string(number);
    const std::uint32_t first = open("alias" + name);
    const std::uint32_t second = open("target" + name);
    EXPECT_NE(first, 0u);
    EXPECT_NE(second, 0u);
    close(first);
    close(second);
  });
  const Lines lines = journal();
  for (int number = 0; number < 8; ++number) {
    const std::string name = std::to_string(number);
    EXPECT_EQ(count_of(lines, "target" + name + " notice entry=1"), 1);
    EXPECT_EQ(count_of(lines, "target" + name + " open name=target" + name + " group=group" + name),
              2);
    EXPECT_EQ(count_of(lines, "target" + name + " unload"), 1);
  }
}

TEST_F(Threads, MeetInOneRecordThroughAliasAndName) {
  install("tm_plain", "qm_target");
  install_store("/default/one=qm_target\n/default/two=qm_target");
  start();
  const char* const names[] = {"one", "two", "qm_target", "one", "two", "qm_target"};
  run(6, [&names](int number) {
    const std::uint32_t handle = open(names[number]);
    EXPECT_NE(handle, 0u) << error_message();
    close(handle);
  });
  EXPECT_EQ(count_of(journal(), "qm_target notice entry=1"), 1);
}

TEST_F(Threads, OpenCallAndCloseInEveryOrder) {
  for (const char* name : {"tm_plain", "tm_other", "qmtm_family"}) install(name);
  set_environment("TM_JOURNAL", "");  // Only the counting is of interest, and its speed.
  start();
  const std::uint32_t kept = open("tm_other");
  const char* const names[] = {"tm_plain", "tm_other", "qmtm_family"};
  run(6, [&names](int number) {
    for (int round = 0; round < 40; ++round) {
      const std::uint32_t handle = open(names[(number + round) % 3]);
      EXPECT_NE(handle, 0u) << error_message();
      EXPECT_EQ(call(handle, 0x2F000001), 1);
      close(handle);
    }
  });
  void* library = nullptr;
  qm_call_fn entry = nullptr;
  EXPECT_FALSE(registry_resolve(QM_W("tm_plain"), library, entry));
  EXPECT_TRUE(registry_resolve(QM_W("tm_other"), library, entry));
  EXPECT_TRUE(registry_resolve(QM_W("qmtm_family"), library, entry));
  close(kept);
  EXPECT_FALSE(registry_resolve(QM_W("tm_other"), library, entry));
}

TEST_F(Threads, CloseCodesRacingThroughOneHandleUnloadOnce) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  run(2, [handle](int) {
    qm_handle_ref record{0};
    qm_call(handle, QM_CALL_CLOSEHANDLE, &record);
  });
  EXPECT_EQ(count_of(journal(), "tm_plain unload"), 1);
  close(handle);
}

TEST_F(Threads, ReadAModulesVersionInformationOnce) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  qm_version_props* props[8] = {};
  run(8, [handle, &props](int number) {
    qm_module_version record{nullptr};
    EXPECT_EQ(qm_call(handle, QM_CALL_MODULEVERSIONINFO, &record), 1);
    props[number] = record.props;
  });
  ASSERT_NE(props[0], nullptr);
  for (const qm_version_props* one : props) EXPECT_EQ(one, props[0]);
  close(handle);
}

}  // namespace
}  // namespace qmsd
