// Threads that meet at a module which one of them is loading.
#include <cstdlib>

#include "tests/contract/support/thread_test.h"

namespace contract {
namespace {

constexpr std::uint32_t kSomeCode = 0x12340001;

class LoadingThreads : public ThreadTest {
 protected:
  // An open that has to give up waiting for another thread.
  void expect_given_up(const qm_wchar* name) const {
    const auto start = std::chrono::steady_clock::now();
    const auto [handle, error] = try_open(name);
    const auto waited = elapsed_since(start).count();
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(error, (Error{16, failure(16, "('%s')", printable(name).c_str()).message()}));
    EXPECT_GE(waited, 1950);
    EXPECT_LE(waited, 3300);
  }
  // The loader lets no thread begin while a library is being loaded, so the others have to be there
  // before.
  static std::thread there_already(const std::function<void()>& body) {
    std::atomic<bool> begins{false};
    std::thread thread([&begins, body] {
      begins = true;
      body();
    });
    while (!begins) std::this_thread::yield();
    return thread;
  }
};

// ---- Waiting -----------------------------------------------------------------------------------

TEST_F(LoadingThreads, WaitForAModuleThatAnotherOneIsLoading) {
  install("tm_slownotice");
  std::uint32_t first = 0;
  std::thread loading([&] { first = open(QM_W("tm_slownotice")); });
  wait_for("notice entry");
  const std::uint32_t handle = open(QM_W("tm_slownotice"));
  const Lines lines = journal();
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines[1], "tm_slownotice notice entry=1");
  EXPECT_EQ(lines[2], "tm_slownotice notice done") << "nobody calls the module before that";
  EXPECT_EQ(journal("notice entry").size(), 1u);
  loading.join();
  EXPECT_TRUE(close(first));
  EXPECT_TRUE(close(handle));
}

TEST_F(LoadingThreads, GiveUpOnAModuleThatTakesTooLong) {
  install("tm_plain");
  configure("tm_plain.notice_sleep=3500");
  std::thread loading([this] { EXPECT_TRUE(close(open(QM_W("tm_plain")))); });
  wait_for("notice entry");
  expect_given_up(QM_W("tm_plain"));
  loading.join();
}

TEST_F(LoadingThreads, GiveUpOnAModuleThatTakesTooLongToLoad) {
  install("tm_plain");
  configure("tm_plain.load_sleep=3500");
  std::thread waiting = there_already([this] {
    wait_for("load");
    expect_given_up(QM_W("tm_plain"));
  });
  EXPECT_TRUE(close(open(QM_W("tm_plain"))));
  waiting.join();
}

// One thread is inside the system's loader and opens what another one is loading, which waits for
// the loader: each has what the other wants. Giving up is the only way out.
TEST_F(LoadingThreads, DoNotWaitForEachOtherForEver) {
  install("tm_plain");
  install("tm_loadopen");
  configure("tm_loadopen.load_opens=2 tm_loadopen.load_sleep=500");
  const ScopedVariable entry("TM_KERNEL",
                             pointer_digits(reinterpret_cast<const void*>(kernel().entry())));
  std::thread loading = there_already([this] {
    wait_for("tm_loadopen load");
    EXPECT_TRUE(close(open(QM_W("tm_plain"))));
  });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(close(open(QM_W("tm_loadopen"))));
  const auto lasted = elapsed_since(start).count();
  loading.join();
  EXPECT_GE(lasted, 2450);
  EXPECT_LE(lasted, 4000);
  EXPECT_EQ(journal("nested"), Lines{"tm_loadopen nested 10030000 result=0 error=10"});
  EXPECT_EQ(journal("tm_plain load"), Lines{"tm_plain load"}) << "when the loader was free again";
}

// ---- Many at once ------------------------------------------------------------------------------

TEST_F(LoadingThreads, OpenAliasedModulesAtOnce) {
  constexpr int kModules = 8;
  std::string store;
  for (int number = 0; number < kModules; ++number) {
    install_as("tm_plain", numbered("tm_", number));
    store += "/default/" + numbered("viewer", number) + "=" + numbered("tm_", number) + " : g" +
             std::to_string(number) + "\n";
  }
  load_kernel_with_store(store);
  run(2 * kModules, [this](int number) {
    const Text name = widen(numbered("viewer", number % kModules));
    const std::uint32_t handle = open(name);
    ASSERT_NE(handle, 0u);
    ASSERT_EQ(kernel().through(handle, kSomeCode), 1);
    ASSERT_TRUE(close(handle));
  });
}

class CrowdOfThreads : public LoadingThreads {
 protected:
  static constexpr int kCrowd = 20;

  void SetUp() override {
    install("tm_plain");
    load_kernel_with_store("/default/viewer=tm_plain : fast\n/default/reader=tm_plain : fast");
  }
  // Everybody opens one of the names at the same moment; nobody waits until he gives up.
  void open_at_once(const std::vector<const qm_wchar*>& names) {
    std::vector<std::uint32_t> handles(kCrowd);
    run(kCrowd, [&](int number) {
      const auto at = static_cast<std::size_t>(number);
      handles[at] = open(names[at % names.size()]);
    });
    EXPECT_EQ(journal("tm_plain notice"), Lines{"tm_plain notice entry=1"});
    for (const std::uint32_t handle : handles) EXPECT_TRUE(close(handle));
  }
};

TEST_F(CrowdOfThreads, OpensOneModule) { open_at_once({QM_W("tm_plain")}); }

TEST_F(CrowdOfThreads, OpensOneAlias) { open_at_once({QM_W("viewer")}); }

TEST_F(CrowdOfThreads, OpensOneAliasOfAModuleThatIsOpenAlready) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  open_at_once({QM_W("viewer")});
  EXPECT_TRUE(close(handle));
}

TEST_F(CrowdOfThreads, OpensOneModuleByAllItsNames) {
  open_at_once({QM_W("viewer"), QM_W("reader"), QM_W("tm_plain")});
}

// ---- Loading the kernel ------------------------------------------------------------------------

// What a failing call needs must not be what the loading thread holds.
TEST_F(LoadingThreads, ServeOthersWhileTheStoreTakesItsTime) {
  unload_kernel();
  std::int64_t took = -1;
  std::thread failing = there_already([&] {
    wait_for("qmproperty list /default/error");
    const Lines noted = journal("qmproperty entry ");
    ASSERT_EQ(noted.size(), 1u);
    const auto digits = noted[0].substr(noted[0].rfind(' ') + 1);
    const auto entry = reinterpret_cast<qm_call_fn>(std::strtoull(digits.c_str(), nullptr, 16));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(entry(0, QM_CALL_SETERRORW, nullptr), 0);
    char text[200];
    qm_get_error_a error{0, text, sizeof text};
    EXPECT_EQ(entry(0, QM_CALL_GETERRORA, &error), 22);
    took = elapsed_since(start).count();
    EXPECT_EQ(journal("list"), Lines{"qmproperty list /default/error"}) << "still loading";
    EXPECT_EQ(widen(text), failure(22, "(!ptr)").message());
  });
  load_kernel_with_store("!entry=1\n!sleep=1000\n/default/error/x2001=text");
  failing.join();
  EXPECT_GE(took, 0);
  EXPECT_LT(took, 500);
}

}  // namespace
}  // namespace contract
