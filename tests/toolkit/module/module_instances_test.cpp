// Instances of a kit-made module: objects that live from open to close.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "tests/toolkit/module/module_kit_test.h"

namespace toolkit_test {
namespace {

class ModuleInstances : public ModuleKit {
 protected:
  std::vector<std::uint32_t> open_many(int number) {
    std::vector<std::uint32_t> handles;
    for (int i = 0; i < number; ++i) handles.push_back(open(QM_W("kitmodule")));
    return handles;
  }
  // An open that fails, leaving handle 0.
  bool open_fails(const qm_wchar* group) {
    qm_open_module_w record{QM_W("kitmodule"), group, 0xC3C3C3C3};
    return kernel()(QM_CALL_OPENMODULEW, &record) == 0 && record.handle == 0;
  }
  bool is_loaded() const {
    return contract::SharedLibrary::is_loaded(
        folder().file(std::string("kitmodule") + contract::kLibraryExtension));
  }
};

TEST_F(ModuleInstances, OpenAndCloseInAnyOrder) {
  std::vector<std::uint32_t> handles = open_many(1000);
  for (std::size_t i = 0; i < handles.size(); ++i) {
    EXPECT_EQ(add(handles[i], static_cast<std::int32_t>(i)), static_cast<std::int32_t>(i));
  }
  std::vector<std::size_t> order(handles.size());
  std::iota(order.begin(), order.end(), 0);
  std::ranges::shuffle(order, std::mt19937(7));
  for (std::size_t position = 0; position < order.size(); ++position) {
    const std::size_t i = order[position];
    ASSERT_EQ(add(handles[i], 0), static_cast<std::int32_t>(i)) << "each has its own state";
    ASSERT_EQ(count(handles[i]).live, static_cast<std::int32_t>(order.size() - position));
    ASSERT_TRUE(close(handles[i]));
  }
  EXPECT_FALSE(is_loaded());
}

TEST_F(ModuleInstances, ModuleIsUnloadedWithTheLastAndStartsAnew) {
  for (int round = 0; round < 3; ++round) {
    const std::uint32_t handle = open(QM_W("kitmodule"));
    EXPECT_EQ(count(handle).live, 1);
    EXPECT_EQ(add(handle, 3), 3);
    EXPECT_TRUE(is_loaded());
    EXPECT_TRUE(close(handle));
    EXPECT_FALSE(is_loaded());
  }
}

TEST_F(ModuleInstances, ConstructorSeesNameGroupAndFurtherFields) {
  kit::Open record{{QM_W("kitmodule"), QM_W("fields"), 0}, 42};
  ASSERT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_EQ(add(record.common.handle, 0), 42);
  EXPECT_TRUE(close(record.common.handle));
}

TEST_F(ModuleInstances, NarrowNamesOpenThem) {
  qm_open_module_a record{"kitmodule", nullptr, 0};
  ASSERT_EQ(kernel()(QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_EQ(add(record.handle, 1), 1);
  EXPECT_TRUE(close(record.handle));
}

TEST_F(ModuleInstances, OpenFailsWithWhatTheConstructorThrows) {
  const std::uint32_t other = open(QM_W("kitmodule"));
  EXPECT_TRUE(open_fails(QM_W("throw1")));
  EXPECT_TRUE(has_error(0x8123, QM_W("(speed=7)")));
  EXPECT_TRUE(open_fails(QM_W("throw3")));
  EXPECT_EQ(kernel().error(), (contract::Error{77, QM_W("gr\u00fc\u00dfe 100%s")}));
  EXPECT_TRUE(open_fails(QM_W("throw4")));
  EXPECT_EQ(kernel().error().code, QM_ERROR_NO_MEMORY);
  EXPECT_TRUE(open_fails(QM_W("throw8")));
  EXPECT_TRUE(has_error(QM_ERROR_DAMAGED, QM_W("%s%n")));
  EXPECT_TRUE(open_fails(QM_W("throw9")));
  EXPECT_EQ(kernel().error().code, QM_ERROR_DAMAGED);
  EXPECT_EQ(count(other).live, 1) << "what was made before the exception is gone";
  EXPECT_EQ(add(other, 1), 1);
  EXPECT_TRUE(close(other));
}

TEST_F(ModuleInstances, FirstOpenMayFailAndTheNextSucceed) {
  EXPECT_TRUE(open_fails(QM_W("throw1")));
  const std::uint32_t handle = open(QM_W("kitmodule"));
  EXPECT_EQ(count(handle).live, 1);
  EXPECT_TRUE(close(handle));
}

TEST_F(ModuleInstances, ClosedHandleIsRefusedForGood) {
  const std::uint32_t kept = open(QM_W("kitmodule"));
  const std::uint32_t handle = open(QM_W("kitmodule"));
  const qm_resolve_handle stale = inside(handle);
  EXPECT_TRUE(close(handle));
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t next = open(QM_W("kitmodule"));
    kit::Sum record{1, 77};
    ASSERT_EQ(stale.entry(stale.owner_handle, kit::kAdd, &record), 0) << "nobody else's by now";
    ASSERT_EQ(record.sum, 77);
    EXPECT_TRUE(close(next));
  }
  EXPECT_EQ(stale.entry(stale.owner_handle, QM_CALL_CLOSEHANDLE, nullptr), 0);
  EXPECT_TRUE(
      has_error(QM_ERROR_NOT_FOUND, contract::text_of("(handle=%08x)", stale.owner_handle)));
  EXPECT_TRUE(close(kept));
}

TEST_F(ModuleInstances, InstanceOutlivesACloseUntilItsHandlerIsDone) {
  struct Context {
    qm_resolve_handle direct;
    std::int32_t live_after_close;
  };
  const std::uint32_t kept = open(QM_W("kitmodule"));
  const std::uint32_t handle = open(QM_W("kitmodule"));
  add(handle, 9);
  Context context{inside(handle), -1};
  const auto close_it = [](kit::Meanwhile& record) {
    Context& its = *static_cast<Context*>(record.context);
    EXPECT_EQ(its.direct.entry(its.direct.owner_handle, QM_CALL_CLOSEHANDLE, nullptr), 1);
    kit::Instances instances{-1, -1};
    EXPECT_EQ(its.direct.entry(0, kit::kCount, &instances), 1);
    its.live_after_close = instances.live;
  };
  kit::Meanwhile record{close_it, &context, -1};
  EXPECT_TRUE(call(handle, kit::kMeanwhile, record));
  EXPECT_EQ(context.live_after_close, 2);
  EXPECT_EQ(record.sum, 9);
  EXPECT_EQ(count(kept).live, 1);
  EXPECT_TRUE(close(handle)) << "the kernel's side ends as ever";
  EXPECT_TRUE(close(kept));
}

TEST_F(ModuleInstances, ThreadsShareAnInstance) {
  const std::uint32_t handle = open(QM_W("kitmodule"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 250; ++round) add(handle, 1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(add(handle, 0), 1000);
  EXPECT_TRUE(close(handle));
}

TEST_F(ModuleInstances, ThreadsOpenCallFailAndCloseAtOnce) {
  const std::uint32_t kept = open(QM_W("kitmodule"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        const std::uint32_t handle = open(QM_W("kitmodule"));
        EXPECT_EQ(add(handle, round), round);
        EXPECT_TRUE(open_fails(QM_W("throw1")));
        EXPECT_TRUE(has_error(0x8123, QM_W("(speed=7)"))) << "errors are each thread's own";
        EXPECT_TRUE(close(handle));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count(kept).live, 1);
  EXPECT_TRUE(close(kept));
}

// Calls that race with the close either find the instance or are refused.
TEST_F(ModuleInstances, ThreadsCallWhatAnotherCloses) {
  const std::uint32_t kept = open(QM_W("kitmodule"));
  for (int round = 0; round < 50; ++round) {
    const std::uint32_t handle = open(QM_W("kitmodule"));
    const qm_resolve_handle direct = inside(handle);
    std::atomic<bool> refused = false;
    std::thread caller([&] {
      while (!refused) {
        kit::Sum record{1, 0};
        if (direct.entry(direct.owner_handle, kit::kAdd, &record) == 0) refused = true;
      }
    });
    std::this_thread::yield();
    EXPECT_TRUE(close(handle));
    caller.join();
    ASSERT_EQ(count(kept).live, 1);
  }
  EXPECT_TRUE(close(kept));
}

// The kernel closes what is open after the module's own destructors have run.
TEST_F(ModuleInstances, ProcessMayEndWithOpenHandles) {
  const auto end_with_open_handles = [&] {
    for (const std::uint32_t handle : open_many(20)) add(handle, 1);
    std::exit(7);
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(end_with_open_handles(), testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace toolkit_test
