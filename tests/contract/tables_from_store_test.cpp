// Error texts and groups from the property store: what is asked for at start-up, how the answers
// are read, what they change.
#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

class TablesFromStore : public ModuleTest {
 protected:
  void SetUp() override {}  // each test brings its own store

  // "TEXT |" for a code with a text, "|" for one without.
  Text shown(std::int32_t code) {
    qm_set_error_w record{QM_SET_ERROR_LITERAL, code, QM_W("|"), nullptr};
    EXPECT_EQ(kernel()(QM_CALL_SETERRORW, &record), 1);
    return kernel().error().message;
  }
  static Text shown_by_runtime(std::int32_t code) { return runtime_text(code) + QM_W(" |"); }
  // The name of the module that serves a group, as the failure to load it tells.
  Failure served_by(const std::string& module) { return cannot_load(module); }
  testing::AssertionResult group_is(std::uint32_t group, const Failure& expected) {
    return kernel().fails(QM_GROUP_HANDLE(group), 0x12340001, nullptr, expected);
  }
  static Failure no_module(std::uint32_t group) {
    return failure(22, "modname?(h=ffff%04x)", group);
  }
};

TEST_F(TablesFromStore, AreLoadedOnceErrorTextsFirst) {
  load_kernel_with_store(
      "/default/groups/x1200=tm_absent\n/default/error/x2001=text\n/default/error/22=other");
  const Lines loading = {"qmproperty load",
                         "qmproperty notice entry=1",
                         "qmproperty list /default/error",
                         "qmproperty read /default/error/x2001",
                         "qmproperty read /default/error/22",
                         "qmproperty list /default/groups",
                         "qmproperty read /default/groups/x1200"};
  EXPECT_EQ(journal(), loading);
  EXPECT_EQ(kernel()(QM_CALL_NOP), 1);
  EXPECT_EQ(shown(0x2001), QM_W("text |"));
  EXPECT_EQ(journal(), loading) << "nothing is asked again";
}

TEST_F(TablesFromStore, AreLoadedAnewWithTheLibrary) {
  for (const char* text : {"first", "second"}) {
    load_kernel_with_store(std::string("/default/error/x2001=") + text);
    EXPECT_EQ(shown(0x2001), widen(text) + QM_W(" |"));
  }
}

TEST_F(TablesFromStore, LeaveNoErrorBehind) {
  for (const char* lines : {"/default/error/x2001=text\n/default/groups/x1200=m", "/x=y", "",
                            "!error=1234", "!error=1234\n/default/error/=x1\\nx2"}) {
    load_kernel_with_store(lines);
    EXPECT_EQ(kernel().error(), (Error{0, {}})) << lines;
    EXPECT_EQ(kernel()(QM_CALL_POPERROR), 0);
  }
}

TEST_F(TablesFromStore, KeepTheLoadingThreadsErrorAsItWas) {
  // The same thread, with an error of an earlier life of the library, starts afresh.
  load_kernel();
  kernel().plant_error();
  load_kernel();
  EXPECT_EQ(kernel().error(), (Error{0, {}}));
}

TEST_F(TablesFromStore, MayBeFilledByAStoreThatCallsTheKernel) {
  install("tm_plain");
  load_kernel_with_store("!open=tm_plain\n!text=2002:noticed\n/default/error/x2001=text");
  EXPECT_EQ(shown(0x2001), QM_W("text |"));
  EXPECT_EQ(shown(0x2002), QM_W("noticed |"));
  EXPECT_EQ(journal("nested"), Lines{"qmproperty nested 10030000 result=1 error=0"});
  EXPECT_EQ(kernel().live_handles(), 1);
  EXPECT_TRUE(close(0x10000));
}

// ---- Error texts -------------------------------------------------------------------------------

TEST_F(TablesFromStore, GiveErrorCodesTheirTexts) {
  load_kernel_with_store(
      "/default/error/x16=bad argument\n/default/error/x1000=not loaded\n/default/error/x22=x22");
  EXPECT_EQ(shown(22), QM_W("bad argument |"));
  EXPECT_EQ(shown(0x1000), QM_W("not loaded |"));
  EXPECT_EQ(shown(0x22), QM_W("x22 |")) << "numbers are hexadecimal";
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_EQ(kernel().error(), (Error{22, QM_W("bad argument  [qmsd] (!ptr)")}));
}

TEST_F(TablesFromStore, GiveCodeZeroTheEmptyText) {
  for (const char* lines : {"/default/error/x1=one", "/default/error/=",
                            "/default/error/x1=one\n"
                            "/default/error/x0=zero"}) {
    load_kernel_with_store(lines);
    EXPECT_EQ(shown(0), QM_W("|")) << lines;
  }
}

TEST_F(TablesFromStore, LeaveCodeZeroToTheRuntimeWithoutAListing) {
  load_kernel_with_store("/other=1");
  const Text text = runtime_text(0);
  EXPECT_EQ(shown(0), text.empty() ? Text(QM_W("|")) : shown_by_runtime(0));
}

struct Line {
  const char* line;
  std::int64_t code;  // the code that the line's text goes to; 0: none, and the line is not read
};

TEST_F(TablesFromStore, TakeHexadecimalNumbersWithOneLeadingX) {
  const Line rows[] = {
      {"x1100", 0x1100},
      {"1100", 0x1100},
      {"0x1100", 0x1100},
      {"x0x1100", 0x1100},
      {"xx1", 0},
      {"X1100", 0},
      {"xyz", 0},
      {"0", 0},
      {"x0", 0},
      {"ffffffff", 0x7FFFFFFF},
      {"x80000001", 0x7FFFFFFF},
      {"7fffffff", 0x7FFFFFFF},
      {"-1", -1},
      {"x-1", -1},
      {"-80000001", INT32_MIN},
      {"ABCD", 0xABCD},
      {"1100 a", 0x1100},
      {"12zz", 0x12},
      {" 15", 0x15},
      {"+16", 0x16},
  };
  for (const Line& row : rows) {
    SCOPED_TRACE(row.line);
    load_kernel_with_store(std::string("/default/error/=") + row.line + "\n/default/error/" +
                           row.line + "=the text");
    const Lines reads = journal("read /default/error");
    if (row.code == 0) {
      EXPECT_EQ(reads, Lines{});
      continue;
    }
    EXPECT_EQ(reads, Lines{std::string("qmproperty read /default/error/") + row.line});
    EXPECT_EQ(shown(static_cast<std::int32_t>(row.code)), QM_W("the text |"));
  }
}

TEST_F(TablesFromStore, AreListedOnePerLineWithAnyLineEnds) {
  load_kernel_with_store(
      "/default/error/=\\r\\n\\nx2001\\r\\nx2002\\n\\n\\r2003\\r2004\n/default/error/x2001=a\n"
      "/default/error/x2002=b\n/default/error/2003=c\n/default/error/2004=d");
  EXPECT_EQ(shown(0x2001), QM_W("a |"));
  EXPECT_EQ(shown(0x2002), QM_W("b |"));
  EXPECT_EQ(shown(0x2003), QM_W("c |"));
  EXPECT_EQ(shown(0x2004), QM_W("d |"));
}

TEST_F(TablesFromStore, SkipLinesThatCannotBeRead) {
  load_kernel_with_store("/default/error/=x2001\\nx2002\\nx2003\n/default/error/x2003=c");
  EXPECT_EQ(journal("read /default/error").size(), 3u);
  EXPECT_EQ(shown(0x2001), shown_by_runtime(0x2001));
  EXPECT_EQ(shown(0x2003), QM_W("c |"));
}

TEST_F(TablesFromStore, TakeTheLaterOfTwoTexts) {
  load_kernel_with_store(
      "/default/error/=x2001\\n2001\n/default/error/x2001=a\n/default/error/2001=b");
  EXPECT_EQ(shown(0x2001), QM_W("b |"));
}

TEST_F(TablesFromStore, TakeWhatTheStoreFillsInWithoutATerminator) {
  load_kernel_with_store("!full=1");
  EXPECT_EQ(journal("qmproperty read"), Lines{}) << "the listing's only line is no number";
  EXPECT_EQ(shown(0), QM_W("|"));
}

TEST_F(TablesFromStore, TakeASilentStoreForAnEmptyOne) {
  load_kernel_with_store("!silent=1");
  EXPECT_EQ(journal("qmproperty read"), Lines{});
  EXPECT_EQ(shown(0), QM_W("|"));
}

TEST_F(TablesFromStore, CutTheNamesTheyAskFor) {
  const std::string n15 = "100000000000001";
  const std::string n16 = "1000000000000002";
  const std::string n17 = "10000000000000003";
  const std::string listing = n15 + "\\n" + n16 + "\\n" + n17;
  load_kernel_with_store("/default/error/=" + listing + "\n/default/groups/=" + listing);
  EXPECT_EQ(journal("read /default/error"),
            (Lines{"qmproperty read /default/error/" + n15, "qmproperty read /default/error/" + n16,
                   "qmproperty read /default/error/" + n17.substr(0, 16)}));
  EXPECT_EQ(journal("read /default/groups"),
            (Lines{"qmproperty read /default/groups/" + n15,
                   "qmproperty read /default/groups/" + n16.substr(0, 15),
                   "qmproperty read /default/groups/" + n17.substr(0, 15)}));
}

TEST_F(TablesFromStore, TakeAListingOfManyLines) {
  std::string lines;
  for (int i = 0; i < 500; ++i) {
    lines += printable(text_of("/default/error/x%x=text %d", 0x2000 + i, i)) + "\n";
  }
  load_kernel_with_store(lines);
  for (int i = 0; i < 500; ++i) ASSERT_EQ(shown(0x2000 + i), text_of("text %d |", i));
}

TEST_F(TablesFromStore, TakeTextsOfAThousandCharacters) {
  const std::string text(2000, 't');
  load_kernel_with_store("/default/error/x2001=" + text);
  EXPECT_EQ(shown(0x2001), Text(1023, QM_W('t')) + QM_W(" |"));
}

// ---- Groups ------------------------------------------------------------------------------------

TEST_F(TablesFromStore, AddGroupsAndReplaceThem) {
  load_kernel_with_store(
      "/default/groups/=x1100\\r\\nx1200\\n\\n1201\\nx1104\n/default/groups/x1100=qmproperty\n"
      "/default/groups/x1200=tm_first\n/default/groups/1201=tm_second\n"
      "/default/groups/x1104=tm_image");
  EXPECT_TRUE(group_is(0x1200, served_by("tm_first")));
  EXPECT_TRUE(group_is(0x1201, served_by("tm_second")));
  EXPECT_TRUE(group_is(0x1104, served_by("tm_image")));
  EXPECT_TRUE(group_is(0x1101, served_by("qmlog"))) << "the other built-in rows stay";
  EXPECT_TRUE(group_is(0x1202, no_module(0x1202)));
}

TEST_F(TablesFromStore, NameTheGroupsThatHaveNoBuiltInRow) {
  load_kernel_with_store("/other=1");
  EXPECT_TRUE(group_is(0x110C, no_module(0x110c)));
  EXPECT_TRUE(group_is(0x1112, no_module(0x1112)));
  load_kernel_with_store("/default/groups/x110C=tm_c\n/default/groups/x1112=tm_12");
  EXPECT_TRUE(group_is(0x110C, served_by("tm_c")));
  EXPECT_TRUE(group_is(0x1112, served_by("tm_12")));
}

TEST_F(TablesFromStore, NeverFindAGroupOutsideSixteenBits) {
  load_kernel_with_store("/default/groups/11200=tm_big\n/default/groups/-1=tm_negative");
  EXPECT_TRUE(group_is(0x1200, no_module(0x1200)));
  EXPECT_TRUE(group_is(0xFFFF, no_module(0xffff)));
}

TEST_F(TablesFromStore, CutModuleNamesAt127Characters) {
  const std::string name(200, 'm');
  load_kernel_with_store("/default/groups/x1200=" + name);
  EXPECT_TRUE(group_is(0x1200, served_by(name.substr(0, 127))));
}

TEST_F(TablesFromStore, KeepAnEmptyModuleName) {
  load_kernel_with_store("/default/groups/x1200=");
  EXPECT_TRUE(group_is(0x1200, served_by("")));
}

TEST_F(TablesFromStore, UseTheNewStoreFromTheNextReadingOn) {
  install("tm_plain");
  configure("tm_plain.call_result=0");
  load_kernel_with_store(
      "/default/groups/=x1200\\nx1100\\nx1201\n/default/groups/x1200=tm_first\n"
      "/default/groups/x1100=tm_plain\n/default/groups/x1201=tm_second");
  EXPECT_TRUE(group_is(0x1200, served_by("tm_first")));
  EXPECT_EQ(journal("read /default/groups"), (Lines{"qmproperty read /default/groups/x1200",
                                                    "qmproperty read /default/groups/x1100"}));
  EXPECT_EQ(journal("tm_plain call").at(0), "tm_plain call 11000000 0");
  EXPECT_TRUE(group_is(0x1201, no_module(0x1201))) << "which could not be read";
}

// Calls by a group give back every use they take, open and close included.
TEST_F(TablesFromStore, LeaveAModulesUsesAloneWhenItsGroupIsCalled) {
  install("tm_plain");
  load_kernel_with_store("/default/groups/x1200=tm_plain");
  const std::uint32_t handle = open(QM_W("tm_plain"));
  clear_journal();
  for (int times = 0; times < 5; ++times) {
    EXPECT_EQ(kernel().through(QM_GROUP_HANDLE(0x1200), QM_CALL_CLOSEHANDLE), 1);
    EXPECT_EQ(kernel().through(QM_GROUP_HANDLE(0x1200), 0x12340001), 1);
  }
  EXPECT_EQ(journal("close").size(), 5u);
  EXPECT_TRUE(is_loaded("tm_plain"));
  EXPECT_TRUE(close(handle));
  EXPECT_FALSE(is_loaded("tm_plain"));
}

}  // namespace
}  // namespace contract
