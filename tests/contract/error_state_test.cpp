// The calling thread's error: what setters compose, what the stack keeps, what readers get.
#include <cstdarg>
#include <thread>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

class ErrorState : public KernelTest {
 protected:
  // Threads begin with an empty error state.
  template <class Body>
  static void on_a_fresh_thread(Body body) {
    std::thread(body).join();
  }

  std::int32_t set(std::uint32_t flags, std::int32_t code, const qm_wchar* text) {
    qm_set_error_w record{flags, code, text, nullptr};
    return kernel()(QM_CALL_SETERRORW, &record);
  }
  std::int32_t set_narrow(std::uint32_t flags, std::int32_t code, const char* text) {
    qm_set_error_a record{flags, code, text, nullptr};
    return kernel()(QM_CALL_SETERRORA, &record);
  }
  // Formats with arguments, as the kernel's callers do from routines of their own.
  std::int32_t set_formatted(std::uint32_t flags, std::int32_t code, const qm_wchar* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::int32_t result = set_with_list(QM_CALL_SETERRORW, flags, code, format, arguments);
    va_end(arguments);
    return result;
  }
  std::int32_t set_formatted_narrow(std::uint32_t flags, std::int32_t code, const char* format,
                                    ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::int32_t result = set_with_list(QM_CALL_SETERRORA, flags, code, format, arguments);
    va_end(arguments);
    return result;
  }
  // Both forms have records of the same shape.
  std::int32_t set_with_list(std::uint32_t function, std::uint32_t flags, std::int32_t code,
                             const void* format, va_list arguments) {
    qm_set_error_w record{flags, code, static_cast<const qm_wchar*>(format),
                          static_cast<void*>(arguments)};
    return kernel()(function, &record);
  }

  std::int32_t add_text(std::int32_t code, const qm_wchar* text) {
    const qm_error_text pair{code, text};
    qm_add_error_texts record{1, &pair};
    return kernel()(QM_CALL_ADDERRORTEXTS, &record);
  }
  // The text that the table holds for a code, as a setter shows it; "|" when it shows none.
  Text shown_for(std::int32_t code) {
    set(QM_SET_ERROR_LITERAL, code, QM_W("|"));
    return kernel().error().message;
  }
  Text message() { return kernel().error().message; }
};

constexpr std::uint32_t kPlain = QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT;

// ---- Reading -----------------------------------------------------------------------------------

TEST_F(ErrorState, IsEmptyAfterLoadingAndOnANewThread) {
  EXPECT_EQ(kernel().error(), (Error{0, {}}));
  on_a_fresh_thread([this] { EXPECT_EQ(kernel().error(), (Error{0, {}})); });
  EXPECT_EQ(kernel().narrow_message(), "");
}

TEST_F(ErrorState, GivesTheCodeAsResultOfReading) {
  for (const std::int32_t code : {1, 22, 0x1000, 0x7FFFFFFF, -1, -2147483647 - 1}) {
    set(kPlain, code, QM_W("text"));
    qm_get_error_w wide{0, nullptr, 0};
    EXPECT_EQ(kernel()(QM_CALL_GETERRORW, &wide), code);
    EXPECT_EQ(wide.code, code);
    qm_get_error_a narrow{0, nullptr, 0};
    EXPECT_EQ(kernel()(QM_CALL_GETERRORA, &narrow), code);
    EXPECT_EQ(narrow.code, code);
    EXPECT_EQ(kernel()(QM_CALL_GETERRORW), code);
    EXPECT_EQ(kernel()(QM_CALL_GETERRORA), code);
  }
}

template <class Record, class Character>
void expect_cut_at_every_length(const Kernel& kernel, std::uint32_t function,
                                std::basic_string_view<Character> whole) {
  constexpr int kRoom = 16;
  constexpr auto kUntouched = static_cast<Character>(0x23);
  for (std::int32_t length = -2; length <= kRoom; ++length) {
    std::basic_string<Character> buffer(kRoom + 1, kUntouched);
    Record record{0, buffer.data(), length};
    EXPECT_EQ(kernel(function, &record), 4711);
    EXPECT_EQ(record.code, 4711);
    EXPECT_EQ(record.text, buffer.data());
    EXPECT_EQ(record.length, length);
    const std::size_t room = length < 1 ? 0 : static_cast<std::size_t>(length);
    EXPECT_EQ(buffer.find_first_not_of(kUntouched, room), buffer.npos) << "length " << length;
    if (room == 0) continue;
    EXPECT_EQ(buffer[room - 1], 0) << "length " << length;
    EXPECT_EQ(buffer.c_str(), std::basic_string<Character>(whole.substr(0, room - 1)));
  }
}

TEST_F(ErrorState, CutsTheMessageToTheReadersBuffer) {
  set(kPlain, 4711, QM_W("0123456789"));
  expect_cut_at_every_length<qm_get_error_w>(kernel(), QM_CALL_GETERRORW,
                                             TextView(QM_W("0123456789")));
  expect_cut_at_every_length<qm_get_error_a>(kernel(), QM_CALL_GETERRORA,
                                             std::string_view("0123456789"));
}

TEST_F(ErrorState, IsReadWithoutABufferToo) {
  set(kPlain, 4711, QM_W("text"));
  qm_get_error_w wide{0, nullptr, 100};
  EXPECT_EQ(kernel()(QM_CALL_GETERRORW, &wide), 4711);
  qm_get_error_a narrow{0, nullptr, 100};
  EXPECT_EQ(kernel()(QM_CALL_GETERRORA, &narrow), 4711);
}

TEST_F(ErrorState, StaysAsItIsWhenRead) {
  const Error planted = kernel().plant_error();
  for (int times = 0; times < 3; ++times) EXPECT_EQ(kernel().error(), planted);
}

TEST_F(ErrorState, KeepsEveryWideCharacter) {
  const qm_wchar text[] = {0x41, 0xD83D, 0xDE00, 0xD800, 0x20AC, 0xFFFF, 0x7F, 0x01, 0};
  set(kPlain, 1, text);
  EXPECT_EQ(message(), text);
}

// ---- The kernel's own failures -----------------------------------------------------------------

TEST_F(ErrorState, JoinsTheCodesTextTheTagAndTheDetail) {
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_EQ(kernel().error(), (Error{22, runtime_text(22) + QM_W("  [qmsd] (!ptr)")}));
  qm_mem_info beyond{1000, nullptr, 0, nullptr, 0, 0, 0, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_MEMINFO, &beyond), 0);
  EXPECT_EQ(kernel().error(), (Error{34, runtime_text(34) + QM_W("  [qmsd]")}));
}

TEST_F(ErrorState, ShowsARegisteredTextInTheKernelsFailures) {
  EXPECT_EQ(add_text(22, QM_W("bad input")), 1);
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_EQ(message(), QM_W("bad input  [qmsd] (!ptr)"));
  EXPECT_EQ(add_text(22, QM_W("")), 1);
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_EQ(message(), QM_W(" [qmsd] (!ptr)"));
  EXPECT_EQ(add_text(22, nullptr), 1);
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_EQ(message(), QM_W(" [qmsd] (!ptr)"));
  EXPECT_EQ(add_text(22, QM_W("again")), 1);
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_EQ(message(), QM_W("again  [qmsd] (!ptr)"));
}

// A code's text of any length leaves a message of at most 2047 characters; the blank behind the
// text is left out where it would not fit.
TEST_F(ErrorState, KeepsTheKernelsMessagesWithinTheirLimit) {
  for (const std::size_t length : {2030u, 2044u, 2045u, 2046u, 2047u, 2048u, 2100u, 5000u}) {
    const Text text(length, QM_W('t'));
    EXPECT_EQ(add_text(22, text.c_str()), 1);
    EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
    Text expected = text.substr(0, 2047);
    if (expected.size() < 2046) expected += QM_W(' ');
    expected = (expected + QM_W(" [qmsd] (!ptr)")).substr(0, 2047);
    EXPECT_EQ(message(), expected) << length;
  }
  add_text(22, QM_W("short again"));
}

// ---- Setting -----------------------------------------------------------------------------------

TEST_F(ErrorState, ReplacesTheMessageByCodeTextAndText) {
  EXPECT_EQ(set(QM_SET_ERROR_REPLACE, 22, QM_W("detail")), 1);
  EXPECT_EQ(kernel().error(), (Error{22, runtime_text(22) + QM_W(" detail")}));
  EXPECT_EQ(set(QM_SET_ERROR_REPLACE | QM_SET_ERROR_NO_CODE_TEXT, 2, QM_W("other")), 1);
  EXPECT_EQ(kernel().error(), (Error{2, QM_W("other")}));
  EXPECT_EQ(set(QM_SET_ERROR_LITERAL, 34, QM_W("50%s")), 1);
  EXPECT_EQ(kernel().error(), (Error{34, runtime_text(34) + QM_W(" 50%s")}));
}

TEST_F(ErrorState, AppendsBehindALineBreak) {
  set(kPlain, 1, QM_W("old"));
  EXPECT_EQ(set(QM_SET_ERROR_APPEND, 22, QM_W("new")), 1);
  EXPECT_EQ(kernel().error(), (Error{22, QM_W("old\r\n") + runtime_text(22) + QM_W(" new")}));
}

TEST_F(ErrorState, PrependsBeforeALineBreak) {
  set(kPlain, 1, QM_W("old"));
  EXPECT_EQ(set(QM_SET_ERROR_PREPEND, 22, QM_W("new")), 1);
  EXPECT_EQ(kernel().error(), (Error{22, runtime_text(22) + QM_W(" new\r\nold")}));
}

struct Composition {
  const char* what;
  std::uint32_t mode;
  const qm_wchar* code_text;  // null: left out by a flag
  const qm_wchar* text;
  const qm_wchar* old_text;
  const qm_wchar* composed;
};

constexpr Composition kCompositions[] = {
    {"replace, all parts", 0, QM_W("T"), QM_W("N"), QM_W("O"), QM_W("T N")},
    {"replace, no code text", 0, nullptr, QM_W("N"), QM_W("O"), QM_W("N")},
    {"replace, empty code text", 0, QM_W(""), QM_W("N"), QM_W("O"), QM_W("N")},
    {"replace, no text", 0, QM_W("T"), QM_W(""), QM_W("O"), QM_W("T ")},
    {"replace by nothing", 0, nullptr, QM_W(""), QM_W("O"), QM_W("")},
    {"append, all parts", 1, QM_W("T"), QM_W("N"), QM_W("O"), QM_W("O\r\nT N")},
    {"append to nothing", 1, QM_W("T"), QM_W("N"), QM_W(""), QM_W("T N")},
    {"append, no code text", 1, nullptr, QM_W("N"), QM_W("O"), QM_W("O\r\nN")},
    {"append nothing: the line break stays", 1, nullptr, QM_W(""), QM_W("O"), QM_W("O\r\n")},
    {"append nothing to nothing", 1, nullptr, QM_W(""), QM_W(""), QM_W("")},
    {"append, no text", 1, QM_W("T"), QM_W(""), QM_W("O"), QM_W("O\r\nT ")},
    {"prepend, all parts", 2, QM_W("T"), QM_W("N"), QM_W("O"), QM_W("T N\r\nO")},
    {"prepend to nothing", 2, QM_W("T"), QM_W("N"), QM_W(""), QM_W("T N")},
    {"prepend, no code text", 2, nullptr, QM_W("N"), QM_W("O"), QM_W("N\r\nO")},
    {"prepend nothing: the old text is lost", 2, nullptr, QM_W(""), QM_W("O"), QM_W("")},
    {"prepend, no text", 2, QM_W("T"), QM_W(""), QM_W("O"), QM_W("T \r\nO")},
    {"both modes replace", 3, QM_W("T"), QM_W("N"), QM_W("O"), QM_W("T N")},
};

TEST_F(ErrorState, IsComposedByModeOfCodeTextTextAndOldText) {
  constexpr std::int32_t kCode = 0x2001;
  for (const Composition& row : kCompositions) {
    for (const std::uint32_t literal : {0u, std::uint32_t{QM_SET_ERROR_LITERAL}}) {
      set(kPlain, 1, row.old_text);
      add_text(kCode, row.code_text == nullptr ? QM_W("unused") : row.code_text);
      const std::uint32_t left_out =
          row.code_text == nullptr ? std::uint32_t{QM_SET_ERROR_NO_CODE_TEXT} : 0u;
      EXPECT_EQ(set(row.mode | literal | left_out, kCode, row.text), 1) << row.what;
      EXPECT_EQ(kernel().error(), (Error{kCode, row.composed})) << row.what;
      EXPECT_EQ(set_narrow(QM_SET_ERROR_REPLACE | QM_SET_ERROR_NO_CODE_TEXT, 1, ""), 1);
    }
  }
}

TEST_F(ErrorState, GetsNoLeadingLineBreakOnAThreadWithoutAMessage) {
  on_a_fresh_thread([this] {
    EXPECT_EQ(set(kPlain | QM_SET_ERROR_APPEND, 5, QM_W("first")), 1);
    EXPECT_EQ(kernel().error(), (Error{5, QM_W("first")}));
  });
}

TEST_F(ErrorState, TakesANullTextForAnEmptyOne) {
  EXPECT_EQ(set(QM_SET_ERROR_REPLACE, 22, nullptr), 1);
  EXPECT_EQ(kernel().error(), (Error{22, runtime_text(22) + QM_W(" ")}));
  EXPECT_EQ(set_narrow(QM_SET_ERROR_LITERAL, 2, nullptr), 1);
  EXPECT_EQ(kernel().error(), (Error{2, runtime_text(2) + QM_W(" ")}));
}

TEST_F(ErrorState, HasTheRuntimesTextForCodeZeroWithoutAStore) {
  EXPECT_EQ(set(QM_SET_ERROR_LITERAL, 0, QM_W("")), 1);
  const Text text = runtime_text(0);
  EXPECT_EQ(kernel().error(), (Error{0, text.empty() ? text : text + QM_W(" ")}));
}

TEST_F(ErrorState, IgnoresOtherFlags) {
  EXPECT_EQ(set(0xFFFFDEFC, 22, QM_W("x")), 1);
  EXPECT_EQ(kernel().error(), (Error{22, runtime_text(22) + QM_W(" x")}));
}

TEST_F(ErrorState, LeavesTheCallersRecordAlone) {
  qm_set_error_w record{QM_SET_ERROR_LITERAL, 22, QM_W("x"), &record};
  const qm_set_error_w before = record;
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW, &record), 1);
  EXPECT_EQ(std::memcmp(&before, &record, sizeof record), 0);
}

// ---- Formats -----------------------------------------------------------------------------------

TEST_F(ErrorState, FormatsWideText) {
  EXPECT_EQ(set_formatted(QM_SET_ERROR_NO_CODE_TEXT, 7, QM_W("%s|%hs|%ls|%S|%d|%08x|%i%%"),
                          QM_W("wide"), "narrow", QM_W("long"), "big", -5, 0xBEEFu, 100),
            1);
  EXPECT_EQ(kernel().error(), (Error{7, QM_W("wide|narrow|long|big|-5|0000beef|100%")}));
}

TEST_F(ErrorState, FormatsNarrowText) {
  EXPECT_EQ(set_formatted_narrow(QM_SET_ERROR_NO_CODE_TEXT, 7, "%s and %s: %d", "one", "two", 3),
            1);
  EXPECT_EQ(kernel().error(), (Error{7, QM_W("one and two: 3")}));
}

TEST_F(ErrorState, ReadsNarrowArgumentsOnlyRightBehindThePercentSign) {
  EXPECT_EQ(set_formatted_narrow(QM_SET_ERROR_NO_CODE_TEXT, 7, "[%-5s][%s]", QM_W("wide"), "n"), 1);
  EXPECT_EQ(message(), QM_W("[wide ][n]"));
  EXPECT_EQ(set_formatted_narrow(QM_SET_ERROR_NO_CODE_TEXT, 7, "%%s", 0), 1);
  EXPECT_EQ(message(), QM_W("%S"));
}

TEST_F(ErrorState, RewritesThePlaceholderInLiteralNarrowTextToo) {
  EXPECT_EQ(set_narrow(kPlain, 7, "50%s of %%s, %d"), 1);
  EXPECT_EQ(message(), QM_W("50%S of %%S, %d"));
}

TEST_F(ErrorState, FormatsTwiceFromOneArgumentList) {
  const auto twice = [this](const qm_wchar* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    for (int times = 0; times < 2; ++times) {
      EXPECT_EQ(set_with_list(QM_CALL_SETERRORW, QM_SET_ERROR_NO_CODE_TEXT, 7, format, arguments),
                1);
      EXPECT_EQ(message(), QM_W("1, two, 3"));
    }
    va_end(arguments);
  };
  twice(QM_W("%d, %s, %d"), 1, QM_W("two"), 3);
}

TEST_F(ErrorState, FormatsFromItsOwnOldMessage) {
  EXPECT_EQ(set(kPlain, 1, QM_W("old")), 1);
  const Text old = message();
  EXPECT_EQ(
      set_formatted(QM_SET_ERROR_NO_CODE_TEXT | QM_SET_ERROR_APPEND, 2, QM_W("(%s)"), old.c_str()),
      1);
  EXPECT_EQ(message(), QM_W("old\r\n(old)"));
}

struct Unformatted {
  const qm_wchar* text;
  const qm_wchar* stored;
};

TEST_F(ErrorState, NeverReadsANullArgumentList) {
  const Unformatted rows[] = {
      {QM_W("plain"), QM_W("plain")},         {QM_W("100%%"), QM_W("100%")},
      {QM_W("100%"), QM_W("100%")},           {QM_W("%s"), QM_W("%s")},
      {QM_W("%d%%"), QM_W("%d%%")},           {QM_W("%%%%"), QM_W("%%")},
      {QM_W("%n and %p"), QM_W("%n and %p")},
  };
  for (const Unformatted& row : rows) {
    EXPECT_EQ(set(QM_SET_ERROR_NO_CODE_TEXT, 7, row.text), 1);
    EXPECT_EQ(message(), row.stored);
  }
  EXPECT_EQ(set_narrow(QM_SET_ERROR_NO_CODE_TEXT, 7, "%s"), 1);
  EXPECT_EQ(message(), QM_W("%S"));
}

TEST_F(ErrorState, CutsMessagesAt2047Characters) {
  const Text text(3000, QM_W('x'));
  const std::string narrow(3000, 'x');
  const Text cut(2047, QM_W('x'));
  EXPECT_EQ(set(kPlain, 7, text.c_str()), 1);
  EXPECT_EQ(message(), cut);
  EXPECT_EQ(set(QM_SET_ERROR_NO_CODE_TEXT, 7, text.c_str()), 1);
  EXPECT_EQ(message(), cut);
  EXPECT_EQ(set_formatted(QM_SET_ERROR_NO_CODE_TEXT, 7, QM_W("%s%s"), text.c_str(), text.c_str()),
            1);
  EXPECT_EQ(message(), cut);
  EXPECT_EQ(set_narrow(kPlain, 7, narrow.c_str()), 1);
  EXPECT_EQ(message(), cut);
  EXPECT_EQ(set(QM_SET_ERROR_LITERAL, 22, text.c_str()), 1);
  EXPECT_EQ(message(), (runtime_text(22) + QM_W(' ') + text).substr(0, 2047));
}

TEST_F(ErrorState, CutsComposedMessagesAt2047Characters) {
  const Text half(1500, QM_W('o'));
  for (const std::uint32_t mode : {1u, 2u}) {
    set(kPlain, 7, half.c_str());
    const Text added(1500, QM_W('n'));
    EXPECT_EQ(set(kPlain | mode, 7, added.c_str()), 1);
    const Text whole = mode == 1 ? half + QM_W("\r\n") + added : added + QM_W("\r\n") + half;
    EXPECT_EQ(message(), whole.substr(0, 2047));
  }
}

// ---- The stack ---------------------------------------------------------------------------------

const Error kNothingToPop{2, QM_W("No more errors in stack")};

TEST_F(ErrorState, CannotBePoppedFromAnEmptyStack) {
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
  EXPECT_EQ(kernel().error(), kNothingToPop);
  on_a_fresh_thread([this] {
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
    EXPECT_EQ(kernel().error(), kNothingToPop);
  });
}

TEST_F(ErrorState, TakesALongMessageAfterAnEmptyPop) {
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
  const Text text(2047, QM_W('x'));
  EXPECT_EQ(set(kPlain, 7, text.c_str()), 1);
  EXPECT_EQ(message(), text);
}

TEST_F(ErrorState, ComesBackFromTheStack) {
  set(kPlain, 11, QM_W("first"));
  EXPECT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
  EXPECT_EQ(kernel().error(), (Error{11, QM_W("first")})) << "pushing leaves the error as it is";
  set(kPlain, 12, QM_W("second"));
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1);
  EXPECT_EQ(kernel().error(), (Error{11, QM_W("first")}));
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
  EXPECT_EQ(kernel().error(), kNothingToPop);
}

TEST_F(ErrorState, IsStackedAtAnyDepth) {
  constexpr int kDepth = 100;
  for (int i = 0; i < kDepth; ++i) {
    const Text text = text_of("error %d", i);
    set(kPlain, i, text.c_str());
    EXPECT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
  }
  for (int i = kDepth; i-- > 0;) {
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1);
    EXPECT_EQ(kernel().error(), (Error{i, text_of("error %d", i)}));
  }
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
  EXPECT_EQ(kernel().error(), kNothingToPop);
}

TEST_F(ErrorState, IsStackedWhenEmpty) {
  on_a_fresh_thread([this] {
    EXPECT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    set(kPlain, 11, QM_W("later"));
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1);
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    const Text text(2047, QM_W('x'));
    EXPECT_EQ(set(kPlain, 7, text.c_str()), 1);
    EXPECT_EQ(message(), text);
  });
}

TEST_F(ErrorState, IsStackedWhole) {
  const Text text(2047, QM_W('x'));
  set(kPlain, 7, text.c_str());
  kernel()(QM_CALL_PUSHERROR);
  set(kPlain, 8, QM_W("short"));
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1);
  EXPECT_EQ(kernel().error(), (Error{7, text}));
}

TEST_F(ErrorState, BelongsToOneThread) {
  const Error planted = kernel().plant_error();
  kernel()(QM_CALL_PUSHERROR);
  on_a_fresh_thread([this] {
    EXPECT_EQ(kernel().error(), (Error{0, {}}));
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
    set(kPlain, 99, QM_W("elsewhere"));
  });
  EXPECT_EQ(kernel().error(), planted);
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1);
  EXPECT_EQ(kernel().error(), planted);
}

}  // namespace
}  // namespace contract
