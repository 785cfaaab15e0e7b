// Handles: their values, the calls through them, their references and their end.
#include <atomic>
#include <thread>

#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

constexpr std::uint32_t kFirst = 0x10000;
constexpr std::uint32_t kSomeCode = 0x12340001;

class Handles : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
    install("tm_other");
  }

  static Failure unknown(std::uint32_t handle) { return failure(2, "(handle=%08x)", handle); }
  static Failure closed(std::uint32_t handle, std::uint32_t code, int live) {
    return failure(22, "(Closed handle: %08x, cmd=%08x, nhs: %i)", handle, code, live);
  }
  void add_reference(std::uint32_t handle) {
    qm_handle_ref record{handle};
    EXPECT_EQ(kernel()(QM_CALL_REFHANDLE, &record), 1);
    EXPECT_EQ(record.handle, handle);
  }
  // A thread that spends most of a second in a call through a handle, and has begun by now.
  template <class Check>
  static std::thread in_a_call(Check check) {
    std::atomic<bool> begins{false};
    std::thread calling([&begins, check] {
      begins = true;
      tm_number sleep{800};
      check(&sleep);
    });
    while (!begins) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return calling;
  }
  // The owner's result for a call through the handle, as the kernel reduces it.
  std::int32_t result_of(std::uint32_t handle, std::int32_t owners_result) {
    tm_number record{owners_result};
    return kernel().through(handle, TM_RESULT, &record);
  }
};

// ---- Values ------------------------------------------------------------------------------------

TEST_F(Handles, StartAtTheFirstValueAndGoUp) {
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(open(QM_W("tm_plain")), kFirst + i);
  EXPECT_EQ(kernel().live_handles(), 5);
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_TRUE(close(kFirst + i));
}

TEST_F(Handles, DoNotComeBackSoon) {
  EXPECT_TRUE(close(open(QM_W("tm_plain"))));
  const std::uint32_t next = open(QM_W("tm_plain"));
  EXPECT_EQ(next, kFirst + 1);
  EXPECT_TRUE(close(next));
}

TEST_F(Handles, MayBeAnyNumber) {
  constexpr std::uint32_t kCount = 200;
  for (std::uint32_t i = 0; i < kCount; ++i) ASSERT_EQ(open(QM_W("tm_plain")), kFirst + i);
  EXPECT_EQ(kernel().live_handles(), static_cast<int>(kCount));
  // In an order that takes them from everywhere: 77 and 200 have no common divisor.
  for (std::uint32_t i = 0; i < kCount; ++i) {
    const std::uint32_t at = i * 77 % kCount;
    clear_journal();
    ASSERT_TRUE(close(kFirst + at));
    ASSERT_EQ(journal("close"), Lines{printable(text_of("tm_plain close %x", at + 1))});
  }
}

TEST_F(Handles, UseUpAValueForAFailedOpen) {
  configure("tm_other.open_result=0");
  qm_open_module_w record{QM_W("tm_other"), nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  const std::uint32_t handle = open(QM_W("tm_plain"));
  EXPECT_EQ(handle, kFirst + 1);
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, LeaveTheErrorAloneWhenTheyServe) {
  const Error planted = kernel().plant_error();
  const std::uint32_t handle = open(QM_W("tm_plain"));
  EXPECT_EQ(kernel().through(handle, kSomeCode), 1);
  add_reference(handle);
  resolve(handle);
  EXPECT_FALSE(close(handle));
  EXPECT_FALSE(close(handle));
  EXPECT_TRUE(close(handle));
  EXPECT_EQ(kernel().error(), planted);
}

// ---- Calls -------------------------------------------------------------------------------------

TEST_F(Handles, LeadToTheOwnersInstance) {
  const std::uint32_t first = open(QM_W("tm_plain"));
  const std::uint32_t second = open(QM_W("tm_plain"));
  const std::uint32_t other = open(QM_W("tm_other"));
  clear_journal();
  EXPECT_EQ(kernel().through(second, kSomeCode), 1);
  EXPECT_EQ(kernel().through(other, kSomeCode + 1), 1);
  EXPECT_EQ(kernel().through(first, 0), 1);
  EXPECT_EQ(journal(), (Lines{"tm_plain call 12340001 2", "tm_other call 12340002 1",
                              "tm_plain call 00000000 1"}));
  for (const std::uint32_t handle : {first, second, other}) EXPECT_TRUE(close(handle));
}

TEST_F(Handles, PassTheRecordOn) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_realloc record{nullptr, 20};
  EXPECT_EQ(kernel().through(handle, TM_ALLOCATE, &record), 1);
  ASSERT_NE(record.pointer, nullptr);
  release(record.pointer);
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, ReduceTheOwnersResultToOneOrZero) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  for (const std::int32_t result : {1, 7, -1, 0x7FFFFFFF, -2147483647 - 1}) {
    EXPECT_EQ(result_of(handle, result), 1) << result;
  }
  EXPECT_EQ(result_of(handle, 0), 0);
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, LeaveTheErrorOfTheOwnerWhenItFails) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  tm_number record{4711};
  EXPECT_EQ(kernel().through(handle, TM_FAIL, &record), 0);
  EXPECT_EQ(kernel().error(), (Error{4711, runtime_text(4711) + QM_W(" from the module")}));
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, SendTheKernelsOwnCodesToTheOwner) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  set(handle, TM_CALL_RESULT, 7);
  clear_journal();
  Lines expected;
  for (const std::uint32_t code :
       {QM_CALL_NOP, QM_CALL_GETERRORW, QM_CALL_GETERRORA, QM_CALL_SETERRORW, QM_CALL_REALLOC,
        QM_CALL_OPENMODULEA, QM_CALL_UNREFHANDLE, QM_CALL_CLOSE}) {
    auto record = poisoned<std::array<std::uint32_t, 8>>();
    EXPECT_EQ(kernel().through(handle, code, &record), 1);
    EXPECT_TRUE(is_poison(record));
    expected.push_back("tm_plain " + printable(text_of("call %08x 1", code)));
  }
  EXPECT_EQ(journal(), expected);
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, AnswerAReferenceThemselves) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  auto record = poisoned<std::array<std::uint32_t, 2>>();
  EXPECT_EQ(kernel().through(handle, QM_CALL_REFHANDLE, &record), 1);
  EXPECT_EQ(kernel().through(handle, QM_CALL_REFHANDLE), 1);
  add_reference(handle);
  EXPECT_TRUE(is_poison(record));
  EXPECT_EQ(journal(), Lines{}) << "the module sees nothing of it";
  EXPECT_FALSE(close(handle)) << "only the kernel's own code counts";
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, AreRefusedWhenClosed) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  const std::uint32_t other = open(QM_W("tm_other"));
  EXPECT_TRUE(close(handle));
  clear_journal();
  auto record = poisoned<std::array<std::uint32_t, 4>>();
  EXPECT_TRUE(kernel().refuses_through(handle, kSomeCode, record, closed(handle, kSomeCode, 1)));
  EXPECT_EQ(journal(), Lines{});
  EXPECT_TRUE(close(other));
  EXPECT_TRUE(kernel().refuses_through(handle, kSomeCode, record, closed(handle, kSomeCode, 0)));
}

TEST_F(Handles, AreRefusedWhenNeverIssued) {
  for (const std::uint32_t handle :
       {1u, 0xFFFFu, 0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFEFFFFu}) {
    EXPECT_TRUE(kernel().fails(handle, kSomeCode, nullptr, closed(handle, kSomeCode, 0)));
  }
}

TEST_F(Handles, AreRefusedUntilTheyAreBound) {
  configure("tm_plain.open_sleep=600");
  std::thread opening([this] { EXPECT_TRUE(close(open(QM_W("tm_plain")))); });
  const auto start = std::chrono::steady_clock::now();
  while (journal("open").empty() && elapsed_since(start).count() < 5000) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_TRUE(kernel().fails(kFirst, kSomeCode, nullptr, failure(22, "(handle->type?=ffffffff)")));
  auto record = poisoned<qm_resolve_handle>();
  record.handle = kFirst;
  EXPECT_TRUE(kernel().fails(QM_CALL_RESOLVEHANDLE, &record, failure(22)));
  add_reference(kFirst);
  qm_handle_ref reference{kFirst};
  EXPECT_EQ(kernel()(QM_CALL_UNREFHANDLE, &reference), 1);
  EXPECT_EQ(reference.handle, kFirst);
  opening.join();
}

// ---- References --------------------------------------------------------------------------------

TEST_F(Handles, LiveUntilTheLastReferenceGoes) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  add_reference(handle);
  add_reference(handle);
  clear_journal();
  qm_handle_ref record{handle};
  EXPECT_EQ(kernel()(QM_CALL_CLOSEHANDLE, &record), 1);
  EXPECT_EQ(record.handle, handle) << "not the last reference";
  EXPECT_EQ(kernel()(QM_CALL_UNREFHANDLE, &record), 1);
  EXPECT_EQ(record.handle, handle);
  EXPECT_EQ(result_of(handle, 1), 1);
  EXPECT_EQ(journal(), Lines{});
  EXPECT_EQ(kernel()(QM_CALL_UNREFHANDLE, &record), 1);
  EXPECT_EQ(record.handle, 0u);
  EXPECT_EQ(journal("close"), Lines{"tm_plain close 1"});
}

TEST_F(Handles, CannotBeReferencedWhenUnknown) {
  const std::uint32_t closed_handle = open(QM_W("tm_plain"));
  EXPECT_TRUE(close(closed_handle));
  for (const std::uint32_t handle :
       {0u, 1u, closed_handle, 0xFFFEFFFFu, 0xFFFF0000u, 0xFFFF1100u, 0xFFFFFFFFu}) {
    qm_handle_ref record{handle};
    for (const std::uint32_t code : {QM_CALL_CLOSEHANDLE, QM_CALL_REFHANDLE, QM_CALL_UNREFHANDLE}) {
      EXPECT_TRUE(kernel().refuses(code, record, unknown(handle)));
    }
    auto resolved = poisoned<qm_resolve_handle>();
    resolved.handle = handle;
    EXPECT_TRUE(kernel().refuses(QM_CALL_RESOLVEHANDLE, resolved, unknown(handle)));
  }
}

TEST_F(Handles, SurviveTheirReleaseDuringACall) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  std::thread calling = in_a_call([this, handle](tm_number* sleep) {
    EXPECT_EQ(kernel().through(handle, TM_SLEEP, sleep), 1);
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
  });
  EXPECT_FALSE(close(handle)) << "the call holds a reference";
  EXPECT_EQ(journal("close"), Lines{});
  calling.join();
  EXPECT_EQ(journal("close"), Lines{"tm_plain close 1"});
  EXPECT_TRUE(kernel().fails(handle, kSomeCode, nullptr, closed(handle, kSomeCode, 0)));
}

TEST_F(Handles, FailACallWhoseReferenceSomebodyElseReleased) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  std::thread calling = in_a_call([this, handle](tm_number* sleep) {
    EXPECT_TRUE(kernel().fails(handle, TM_SLEEP, sleep, unknown(handle)));
  });
  EXPECT_FALSE(close(handle));
  EXPECT_TRUE(close(handle)) << "more releases than references";
  calling.join();
}

TEST_F(Handles, MayBeReleasedByTheirOwnModuleDuringACall) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  qm_handle_ref own{handle};
  tm_forward forward{0, QM_CALL_CLOSEHANDLE, &own, -1};
  EXPECT_EQ(kernel().through(handle, TM_FORWARD, &forward), 1);
  EXPECT_EQ(forward.result, 1);
  EXPECT_EQ(own.handle, handle);
  EXPECT_EQ(journal("close"), Lines{"tm_plain close 1"}) << "when the call returned";
}

// The module's own two releases take the call's reference, too: nothing is left to give back.
TEST_F(Handles, FailACallThatReleasedThemTwice) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  qm_handle_ref own{handle};
  tm_forward forward{0, QM_CALL_CLOSEHANDLE, &own, -1, 2};
  EXPECT_TRUE(kernel().fails(handle, TM_FORWARD, &forward, unknown(handle)));
  EXPECT_EQ(forward.result, 1);
  EXPECT_EQ(own.handle, 0u);
  EXPECT_EQ(journal(), (Lines{"tm_plain close 1", "tm_plain unload"}))
      << "closed within the call, unloaded when it returned";
  EXPECT_EQ(kernel().live_handles(), 0);
  EXPECT_TRUE(close(open(QM_W("tm_plain"))));
}

// ---- Direct calls ------------------------------------------------------------------------------

TEST_F(Handles, ResolveToWhatADirectCallNeeds) {
  open(QM_W("tm_plain"));
  const std::uint32_t handle = open(QM_W("tm_plain"));
  const qm_resolve_handle resolved = resolve(handle);
  EXPECT_EQ(resolved.owner_handle, 2u);
  EXPECT_EQ(reinterpret_cast<void*>(resolved.entry) != nullptr, true);
  EXPECT_EQ(SharedLibrary::find_in(resolved.library, "qm_call") != nullptr, true);
  clear_journal();
  EXPECT_EQ(resolved.entry(resolved.owner_handle, kSomeCode, nullptr), 1);
  EXPECT_EQ(journal(), Lines{"tm_plain call 12340001 2"});
  EXPECT_FALSE(close(handle)) << "resolving adds a reference";
  EXPECT_TRUE(close(handle));
  EXPECT_TRUE(close(kFirst));
}

TEST_F(Handles, CannotBeResolvedWhenTheirModuleIsGone) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_handle_ref closing{handle};
  EXPECT_EQ(kernel().through(handle, QM_CALL_CLOSEHANDLE, &closing), 1);
  EXPECT_FALSE(is_loaded("tm_plain"));
  for (int times = 0; times < 2; ++times) {
    auto record = poisoned<qm_resolve_handle>();
    record.handle = handle;
    EXPECT_TRUE(kernel().fails(QM_CALL_RESOLVEHANDLE, &record, failure(22)));
    EXPECT_EQ(record.handle, handle);
    EXPECT_EQ(record.owner_handle, 1u);
    EXPECT_EQ(record.library, nullptr);
    EXPECT_EQ(reinterpret_cast<void*>(record.entry), nullptr);
  }
  EXPECT_TRUE(close(handle)) << "the failures left no reference behind";
}

// ---- Closing -----------------------------------------------------------------------------------

TEST_F(Handles, CloseTheirInstanceOnly) {
  const std::uint32_t first = open(QM_W("tm_plain"));
  const std::uint32_t second = open(QM_W("tm_plain"));
  clear_journal();
  EXPECT_TRUE(close(second));
  EXPECT_EQ(journal(), Lines{"tm_plain close 2"});
  EXPECT_EQ(result_of(first, 1), 1);
  EXPECT_TRUE(close(first));
}

TEST_F(Handles, AreClosedEvenIfTheOwnerRefuses) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  set(handle, TM_CLOSE_RESULT, 0);
  EXPECT_TRUE(close(handle));
  EXPECT_EQ(kernel().live_handles(), 0);
}

TEST_F(Handles, MayBeOpenedWhileAnotherIsClosed) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  set(handle, TM_CLOSE_OPENS, 1);
  EXPECT_TRUE(close(handle));
  EXPECT_EQ(kernel().live_handles(), 1);
  EXPECT_TRUE(close(kFirst + 1));
}

// A close that is sent through the handle reaches the module and ends its use; the table's entry
// stays until it is released.
TEST_F(Handles, StayAfterACloseSentThroughThem) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  qm_handle_ref record{handle};
  EXPECT_EQ(kernel().through(handle, QM_CALL_CLOSEHANDLE, &record), 1);
  EXPECT_EQ(record.handle, handle);
  EXPECT_EQ(journal(), (Lines{"tm_plain close 1", "tm_plain unload"}));
  EXPECT_EQ(kernel().live_handles(), 1);
  EXPECT_EQ(kernel()(QM_CALL_CLOSEHANDLE, &record), 1) << "nothing left to close";
  EXPECT_EQ(record.handle, 0u);
  EXPECT_EQ(journal(), (Lines{"tm_plain close 1", "tm_plain unload"}));
}

TEST_F(Handles, HaveNothingToCloseWhenTheirModuleIsGone) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_handle_ref record{handle};
  EXPECT_EQ(kernel().through(handle, QM_CALL_CLOSEHANDLE, &record), 1);
  clear_journal();
  const Error planted = kernel().plant_error();
  for (const std::uint32_t code : {QM_CALL_CLOSEHANDLE, QM_CALL_UNREFHANDLE}) {
    EXPECT_EQ(kernel().through(handle, code, &record), 1);
  }
  EXPECT_EQ(kernel().error(), planted);
  EXPECT_EQ(journal(), Lines{});
  EXPECT_TRUE(close(handle));
}

TEST_F(Handles, LoadTheirModuleAgainForACall) {
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_handle_ref record{handle};
  EXPECT_EQ(kernel().through(handle, QM_CALL_CLOSEHANDLE, &record), 1);
  clear_journal();
  EXPECT_EQ(kernel().through(handle, kSomeCode), 1);
  EXPECT_EQ(journal(),
            (Lines{"tm_plain load", "tm_plain notice entry=1", "tm_plain call 12340001 1"}));
  EXPECT_TRUE(close(handle));
  EXPECT_FALSE(is_loaded("tm_plain"));
}

TEST_F(Handles, SendASecondCloseToAModuleThatIsStillThere) {
  install("qmtm_family");
  const std::uint32_t handle = open(QM_W("qmtm_family"));
  clear_journal();
  qm_handle_ref record{handle};
  EXPECT_EQ(kernel().through(handle, QM_CALL_CLOSEHANDLE, &record), 1);
  EXPECT_EQ(kernel()(QM_CALL_CLOSEHANDLE, &record), 1);
  EXPECT_EQ(journal(), (Lines{"qmtm_family close 1", "qmtm_family close 1"}));
}

}  // namespace
}  // namespace contract
