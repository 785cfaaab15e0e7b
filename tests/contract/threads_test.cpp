// Many threads at once: each service from several sides.
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "tests/contract/support/thread_test.h"

namespace contract {
namespace {

constexpr int kThreads = 8;
constexpr std::uint32_t kSomeCode = 0x12340001;

class Threads : public ThreadTest {
 protected:
  using ThreadTest::run;
  static void run(const std::function<void(int)>& body) { run(kThreads, body); }
};

// ---- Errors ------------------------------------------------------------------------------------

TEST_F(Threads, HaveErrorsOfTheirOwn) {
  run([this](int number) {
    const Text text = text_of("error of thread %d", number);
    for (int times = 0; times < 200; ++times) {
      qm_set_error_w record{QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT, number, text.c_str(),
                            nullptr};
      ASSERT_EQ(kernel()(QM_CALL_SETERRORW, &record), 1);
      ASSERT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
      ASSERT_EQ(kernel()(QM_CALL_SETERRORW), 0);
      ASSERT_TRUE(kernel().has_error(failure(22, "(!ptr)")));
      ASSERT_EQ(kernel()(QM_CALL_POPERROR), 1);
      ASSERT_EQ(kernel().error(), (Error{number, text}));
    }
  });
}

TEST_F(Threads, RegisterAndShowErrorTexts) {
  run([this](int number) {
    for (std::int32_t i = 0; i < 150; ++i) {
      const std::int32_t shared = 0x2000 + i;
      const std::int32_t own = 0x3000 + 0x100 * number + i;
      const Text text = text_of("%d", own);
      const qm_error_text pairs[] = {{shared, QM_W("shared")}, {own, text.c_str()}};
      qm_add_error_texts record{2, pairs};
      ASSERT_EQ(kernel()(QM_CALL_ADDERRORTEXTS, &record), 1);
      for (const std::int32_t code : {shared, own, 20000 + i}) {
        qm_set_error_w set{QM_SET_ERROR_LITERAL, code, QM_W("|"), nullptr};
        ASSERT_EQ(kernel()(QM_CALL_SETERRORW, &set), 1);
        const Text shown = kernel().error().message;
        if (code == shared) {
          ASSERT_EQ(shown, QM_W("shared |"));
        } else if (code == own) {
          ASSERT_EQ(shown, text + QM_W(" |"));
        } else {
          ASSERT_EQ(shown, runtime_text(code) + QM_W(" |"));
        }
      }
    }
  });
}

TEST_F(Threads, BeginAndEndWhileOthersUseTheTables) {
  std::atomic<bool> stop{false};
  std::thread busy([&] {
    while (!stop) {
      void* block = allocate(16);
      release(block);
      const qm_error_text pair{0x2001, QM_W("text")};
      qm_add_error_texts record{1, &pair};
      kernel()(QM_CALL_ADDERRORTEXTS, &record);
    }
  });
  for (int times = 0; times < 100; ++times) {
    std::thread([this] {
      EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
      EXPECT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
    }).join();
  }
  stop = true;
  busy.join();
}

// ---- Blocks ------------------------------------------------------------------------------------

TEST_F(Threads, AllocateResizeMeasureAndRelease) {
  run([this](int number) {
    for (std::int32_t i = 1; i < 150; ++i) {
      qm_realloc_pos block{nullptr, i, "threads", number};
      ASSERT_EQ(kernel()(QM_CALL_REALLOCPOS, &block), 1);
      std::memset(block.pointer, number, static_cast<std::size_t>(i));
      qm_mem_size size{block.pointer, 0};
      ASSERT_EQ(kernel()(QM_CALL_MEMSIZE, &size), 1);
      ASSERT_EQ(size.size, (i + 3) / 4 * 4);
      block.size = 3 * i;
      ASSERT_EQ(kernel()(QM_CALL_REALLOCPOS, &block), 1);
      ASSERT_EQ(static_cast<unsigned char*>(block.pointer)[i - 1], number);
      ASSERT_EQ(kernel()(QM_CALL_MEMCHECK), 1);
      block.size = 0;
      ASSERT_EQ(kernel()(QM_CALL_REALLOCPOS, &block), 1);
    }
  });
}

TEST_F(Threads, ReleaseWhatOthersAllocated) {
  std::vector<void*> blocks(kThreads * 50);
  run([&](int number) {
    for (std::size_t i = static_cast<std::size_t>(number); i < blocks.size(); i += kThreads) {
      blocks[i] = allocate(static_cast<std::int32_t>(i) + 1);
    }
  });
  EXPECT_EQ(kernel().live_blocks(), static_cast<int>(blocks.size()));
  run([&](int number) {
    for (std::size_t i = static_cast<std::size_t>(kThreads - 1 - number); i < blocks.size();
         i += kThreads) {
      release(blocks[i]);
    }
  });
}

// ---- Slots -------------------------------------------------------------------------------------

TEST_F(Threads, CreateJoinAndReleaseSlotsOfEachOther) {
  constexpr int kTimes = 300;
  run([this](int) {
    for (int times = 0; times < kTimes; ++times) {
      auto own = poisoned<qm_slot>();
      ASSERT_EQ(kernel()(QM_CALL_SLOTCREATE, &own), 1);
      // Others guess the number: they may join and leave, which keeps the slot.
      qm_slot guessed{own.id - times % 7, nullptr};
      const bool joined = kernel()(QM_CALL_SLOTJOIN, &guessed) == 1;
      ASSERT_TRUE(!joined || guessed.data != nullptr);
      if (joined) {
        ASSERT_EQ(kernel()(QM_CALL_SLOTRELEASE, &guessed), 1);
      }
      ASSERT_EQ(kernel()(QM_CALL_SLOTRELEASE, &own), 1);
    }
  });
  auto next = poisoned<qm_slot>();
  EXPECT_EQ(kernel()(QM_CALL_SLOTCREATE, &next), 1);
  EXPECT_EQ(next.id, kThreads * kTimes + 1) << "each got a number of its own";
}

TEST_F(Threads, CountTheUsersOfOneSlot) {
  auto slot = poisoned<qm_slot>();
  ASSERT_EQ(kernel()(QM_CALL_SLOTCREATE, &slot), 1);
  run([this, &slot](int) {
    for (int times = 0; times < 300; ++times) {
      qm_slot joined{slot.id, nullptr};
      ASSERT_EQ(kernel()(QM_CALL_SLOTJOIN, &joined), 1);
      ASSERT_EQ(joined.data, slot.data);
    }
  });
  for (int user = 0; user < kThreads * 300; ++user) {
    ASSERT_EQ(kernel()(QM_CALL_SLOTRELEASE, &slot), 1);
  }
  EXPECT_EQ(kernel()(QM_CALL_SLOTRELEASE, &slot), 1) << "the creator's own use";
  EXPECT_TRUE(kernel().fails(QM_CALL_SLOTRELEASE, &slot, failure(2, "(slot)")));
}

// ---- Handles -----------------------------------------------------------------------------------

TEST_F(Threads, OpenCallAndCloseOneModule) {
  install("tm_plain");
  const std::uint32_t keeps_it_loaded = open(QM_W("tm_plain"));
  run([this](int) {
    for (int times = 0; times < 60; ++times) {
      const std::uint32_t handle = open(QM_W("tm_plain"));
      ASSERT_NE(handle, 0u);
      tm_number number{7};
      ASSERT_EQ(kernel().through(handle, TM_RESULT, &number), 1);
      ASSERT_TRUE(close(handle));
    }
  });
  EXPECT_EQ(journal("tm_plain load").size(), 1u);
  EXPECT_TRUE(close(keeps_it_loaded));
  EXPECT_FALSE(is_loaded("tm_plain"));
}

TEST_F(Threads, LoadAndUnloadOneModule) {
  install("tm_plain");
  run(4, [this](int) {
    for (int times = 0; times < 25; ++times) {
      const std::uint32_t handle = open(QM_W("tm_plain"));
      ASSERT_NE(handle, 0u);
      tm_number number{7};
      ASSERT_EQ(kernel().through(handle, TM_RESULT, &number), 1);
      ASSERT_TRUE(close(handle));
    }
  });
  EXPECT_FALSE(is_loaded("tm_plain"));
  // Whoever opens it while another thread is about to free the library meets the one still loaded.
  EXPECT_LE(journal("tm_plain load").size(), journal("tm_plain notice").size());
  EXPECT_EQ(journal("tm_plain load").size(), journal("tm_plain unload").size());
}

TEST_F(Threads, OpenCallAndCloseModulesOfTheirOwn) {
  for (int number = 0; number < kThreads; ++number) {
    install_as("tm_plain", numbered("tm_", number));
  }
  run([this](int number) {
    const Text name = widen(numbered("tm_", number));
    for (int times = 0; times < 15; ++times) {
      const std::uint32_t handle = open(name);
      ASSERT_NE(handle, 0u);
      tm_number value{number};
      ASSERT_EQ(kernel().through(handle, TM_RESULT, &value), number == 0 ? 0 : 1);
      ASSERT_TRUE(close(handle));
    }
  });
  for (int number = 0; number < kThreads; ++number) {
    EXPECT_FALSE(is_loaded(numbered("tm_", number)));
  }
}

TEST_F(Threads, ShareOneHandle) {
  install("tm_plain");
  const std::uint32_t handle = open(QM_W("tm_plain"));
  run([&](int) {
    for (int times = 0; times < 150; ++times) {
      qm_handle_ref record{handle};
      ASSERT_EQ(kernel()(QM_CALL_REFHANDLE, &record), 1);
      tm_number number{1};
      ASSERT_EQ(kernel().through(handle, TM_RESULT, &number), 1);
      ASSERT_EQ(kernel()(QM_CALL_UNREFHANDLE, &record), 1);
      ASSERT_EQ(record.handle, handle);
    }
  });
  EXPECT_TRUE(close(handle));
}

TEST_F(Threads, KeepAHandleAliveBetweenThem) {
  install("tm_plain");
  for (int times = 0; times < 20; ++times) {
    const std::uint32_t handle = open(QM_W("tm_plain"));
    qm_handle_ref more{handle};
    for (int number = 1; number < kThreads; ++number) {
      EXPECT_EQ(kernel()(QM_CALL_REFHANDLE, &more), 1);
    }
    std::atomic<int> last{0};
    run([&](int) {
      tm_number number{1};
      EXPECT_EQ(kernel().through(handle, TM_RESULT, &number), 1);
      if (close(handle)) ++last;
    });
    EXPECT_EQ(last, 1) << "exactly one reference is the last";
    EXPECT_EQ(kernel().live_handles(), 0);
  }
}

TEST_F(Threads, ReachAGroupsModuleAtOnce) {
  install_as("tm_plain", "qmlog");
  run([this](int) {
    for (int times = 0; times < 100; ++times) {
      tm_number number{1};
      ASSERT_EQ(kernel().through(QM_GROUP_HANDLE(0x1101), TM_RESULT, &number), 1);
    }
  });
  EXPECT_EQ(journal("load"), Lines{"qmlog load"});
}

// ---- Modules -----------------------------------------------------------------------------------

TEST_F(Threads, ReadAModulesVersionTextsOnce) {
  install("tm_plain");
  const std::uint32_t handle = open(QM_W("tm_plain"));
  std::vector<qm_version_props*> found(kThreads);
  run([&](int number) {
    qm_module_version record{};
    EXPECT_EQ(kernel().through(handle, QM_CALL_MODULEVERSIONINFO, &record), 1);
    found[static_cast<std::size_t>(number)] = record.props;
  });
  for (const qm_version_props* props : found) EXPECT_EQ(props, found[0]);
  EXPECT_EQ(kernel().live_blocks(), 1);
  EXPECT_TRUE(close(handle));
}

TEST_F(Threads, ListModulesAtOnce) {
  install("tm_plain");
  const ScopedVariable path("PATH", std::nullopt);
  run(4, [this](int) {
    for (int times = 0; times < 10; ++times) {
      qm_list_modules_w record{0, QM_W("tm_plain"), nullptr, nullptr, 0};
      ASSERT_EQ(kernel()(QM_CALL_LISTMODULESW, &record), 1);
      ASSERT_EQ(record.count, 1);
      release(record.paths[0]);
      release(record.paths);
      release(record.versions);
    }
  });
}

// ---- Everything --------------------------------------------------------------------------------

TEST_F(Threads, UseEverythingAtOnce) {
  install("tm_plain");
  install_as("tm_plain", "tm_other");
  install_as("tm_plain", "qmlog");
  run([this](int number) {
    for (int times = 0; times < 40; ++times) {
      const std::uint32_t handle = open(number % 2 == 0 ? QM_W("tm_plain") : QM_W("tm_other"));
      ASSERT_NE(handle, 0u);
      qm_realloc block{nullptr, 10 + times};
      ASSERT_EQ(kernel().through(handle, TM_ALLOCATE, &block), 1);
      ASSERT_EQ(kernel().through(QM_GROUP_HANDLE(0x1101), kSomeCode), 1);
      tm_number code{1000 + number};
      ASSERT_EQ(kernel().through(handle, TM_FAIL, &code), 0);
      ASSERT_EQ(kernel().error().code, 1000 + number);
      release(block.pointer);
      ASSERT_TRUE(close(handle));
    }
  });
  EXPECT_FALSE(is_loaded("tm_plain"));
  EXPECT_FALSE(is_loaded("tm_other"));
}

TEST_F(Threads, MakeTheFirstCallAtOnce) {
  for (int times = 0; times < 20; ++times) {
    load_kernel();
    run([this](int) { EXPECT_EQ(kernel()(QM_CALL_NOP), 1); });
  }
}

}  // namespace
}  // namespace contract
