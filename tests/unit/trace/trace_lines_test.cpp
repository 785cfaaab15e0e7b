// What a build with the developer's trace writes, line by line.
#ifdef _WIN32
#include <windows.h>
#endif

#include <cerrno>
#include <sstream>

#include "kernel/base/trace.h"
#include "memory/tracked_allocator.h"
#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

static_assert(kTracing);

#ifdef _WIN32

// The debugger's output reaches a debugger as an exception, which any handler of the process sees.
class TracedText {
 public:
  TracedText() : handler_(::AddVectoredExceptionHandler(1, take)) { text().clear(); }
  ~TracedText() { ::RemoveVectoredExceptionHandler(handler_); }
  TracedText(const TracedText&) = delete;
  TracedText& operator=(const TracedText&) = delete;

  std::string get() const { return text(); }

 private:
  static constexpr DWORD kPrintException = 0x40010006;

  static std::string& text() {
    static std::string text;
    return text;
  }
  static LONG CALLBACK take(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& exception = *pointers->ExceptionRecord;
    if (exception.ExceptionCode != kPrintException) return EXCEPTION_CONTINUE_SEARCH;
    text() += reinterpret_cast<const char*>(exception.ExceptionInformation[1]);
    return EXCEPTION_CONTINUE_EXECUTION;
  }

  void* const handler_;
};

#else

class TracedText {
 public:
  TracedText() { testing::internal::CaptureStderr(); }
  ~TracedText() {
    if (!taken_) get();
  }
  TracedText(const TracedText&) = delete;
  TracedText& operator=(const TracedText&) = delete;

  std::string get() {
    taken_ = true;
    return testing::internal::GetCapturedStderr();
  }

 private:
  bool taken_ = false;
};

#endif

// What the action makes the trace say.
template <class Action>
Lines traced(Action action) {
  TracedText text;
  action();
  std::istringstream whole(text.get());
  Lines lines;
  for (std::string line; std::getline(whole, line);) lines.push_back(line);
  return lines;
}

std::string begin_of(std::uint32_t handle, std::uint32_t function, const void* params) {
  char line[128];
  std::snprintf(line, sizeof line,
                "--- qm_call begin (handle: %08x, function: %08x, params: %0*llX)",
                static_cast<unsigned>(handle), static_cast<unsigned>(function),
                static_cast<int>(2 * sizeof params),
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(params)));
  return line;
}

// ---- Lines -------------------------------------------------------------------------------------

TEST(TraceLine, EndsOnceWithOrWithoutALineEndOfItsOwn) {
  EXPECT_EQ(traced([] {
              trace("%s", "first");
              trace("%d\n", 2);
              trace("");
              trace("last");
            }),
            (Lines{"first", "2", "", "last"}));
}

TEST(TraceLine, IsCutAt511Characters) {
  const std::string text(2000, 'x');
  EXPECT_EQ(traced([&text] { trace("%s\n", text.c_str()); }), Lines{text.substr(0, 511)});
}

TEST(TraceLine, TakesWideArguments) {
  EXPECT_EQ(traced([] { trace("(name: %ls)", QM_W("wide")); }), Lines{"(name: wide)"});
}

TEST(TraceLine, LeavesTheSystemsErrorAlone) {
  traced([] {
    errno = 5;
    trace("%s", "line");
    EXPECT_EQ(errno, 5);
#ifdef _WIN32
    ::SetLastError(5);
    trace("%s", "line");
    EXPECT_EQ(::GetLastError(), 5u);
#endif
  });
}

// ---- A kernel's life ---------------------------------------------------------------------------

class Trace : public ModuleTest {};

TEST_F(Trace, TellsOfEachCall) {
  start();
  qm_handle_ref record{0};
  EXPECT_EQ(traced([&record] {
              qm_call(0, QM_CALL_NOP, nullptr);
              qm_call(0x10000, 0xFEDCBA98, &record);
            }),
            (Lines{begin_of(0, QM_CALL_NOP, nullptr), begin_of(0x10000, 0xFEDCBA98, &record)}));
}

TEST_F(Trace, LeavesTheThreadsErrorAlone) {
  start();
  set_thread_error(77);
  traced([] { qm_call(0, QM_CALL_NOP, nullptr); });
  EXPECT_EQ(test::thread_error().code, 77);
  EXPECT_NE(error_message().find("marker"), std::string::npos);
}

TEST_F(Trace, NamesTheModuleThatCannotBeOpened) {
  start();
  const Lines lines = traced([] { open("tm_absent"); });
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "--- qmapi_open_module error (name: tm_absent)");
  const Lines nameless = traced([] { qm_call(0, QM_CALL_OPENMODULEW, nullptr); });
  EXPECT_EQ(nameless.back(), "--- qmapi_open_module error (name: )");
}

TEST_F(Trace, ShowsWhatIsThereRightBeforeItGoes) {
  // The changes that the lines show are those since the life before.
  start();
  traced([this] { stop(); });
  install("tm_plain");
  start();
  EXPECT_EQ(open("tm_plain"), 0x10000u);
  qm_realloc block{nullptr, 5};
  EXPECT_EQ(qm_call(0, QM_CALL_REALLOC, &block), 1);
  EXPECT_EQ(traced([this] { stop(); }),
            (Lines{begin_of(0, QM_CALL_CLOSE, nullptr),
                   "[QMHANDLES] nhandles: 1 (1), allsize: 106 (50) bytes",
                   "[QMMODULES] nmodules: 0 (0), allsize: 52 (0) bytes",
                   "[QMMEM] nblock: 1 (1), nbadblock: 0 (0), allmemsize: 8 (8) bytes, "
                   "allothersize: 52 (8) ",
                   "--- qmsd closed"}));
  EXPECT_EQ(traced([] { qm_call(0, QM_CALL_NOP, nullptr); }), Lines{})
      << "nothing from a closed one";
}

TEST_F(Trace, EndsWithoutTheFiguresThatMemoryDoesNotSufficeFor) {
  start();
  const Lines lines = traced([this] {
    const test::allocation_failures::Scope no_memory(1, test::Shortage::from_then_on);
    stop();
  });
  EXPECT_EQ(lines, (Lines{begin_of(0, QM_CALL_CLOSE, nullptr), "no statistics", "no statistics",
                          "no statistics", "--- qmsd closed"}));
}

}  // namespace
}  // namespace qmsd
