// Modules under other names: what the property store is asked, and what its answer does.
#include <algorithm>
#include <map>

#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

class Aliases : public ModuleTest {
 protected:
  void SetUp() override {
    install("tm_plain");
    install("tm_other");
  }
  // What the store is asked for in order to find an alias.
  Lines reads() const { return journal("qmproperty read"); }
};

TEST_F(Aliases, LeadToTheModuleAndGroupOfTheStore) {
  load_kernel_with_store("/default/viewer=tm_plain : fast");
  clear_journal();
  EXPECT_TRUE(close(open(QM_W("viewer"))));
  EXPECT_EQ(journal(), (Lines{"qmproperty read /default/viewer", "tm_plain load",
                              "tm_plain notice entry=1", "tm_plain open name=tm_plain group=fast",
                              "tm_plain close 1", "tm_plain unload"}));
}

TEST_F(Aliases, LeaveTheCallersTextsInPlace) {
  configure("tm_plain.open_fields=1");
  load_kernel_with_store("/default/viewer=tm_plain : fast");
  static const qm_wchar kName[] = QM_W("viewer");
  static const qm_wchar kGroup[] = QM_W("");
  for (int times = 0; times < 2; ++times) {
    tm_open_module record{{kName, kGroup, 0}, 41, 99};
    EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 1);
    EXPECT_EQ(record.open.name, kName);
    EXPECT_EQ(record.open.group, kGroup);
    EXPECT_EQ(record.first, 42u);
    EXPECT_EQ(record.second, 100u);
    EXPECT_TRUE(close(record.open.handle));
  }
}

TEST_F(Aliases, ServeNarrowNamesToo) {
  load_kernel_with_store("/default/viewer=tm_plain : fast");
  qm_open_module_a record{"viewer", nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEA, &record), 1);
  EXPECT_STREQ(record.name, "viewer");
  EXPECT_EQ(record.group, nullptr);
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=fast"});
  EXPECT_TRUE(close(record.handle));
}

TEST_F(Aliases, AreLookedUpInTheCallersGroup) {
  load_kernel_with_store("/tools/viewer=tm_plain\n/default/viewer=tm_other");
  clear_journal();
  EXPECT_TRUE(close(open(QM_W("viewer"), QM_W("tools"))));
  EXPECT_TRUE(close(open(QM_W("viewer"), QM_W(""))));
  EXPECT_TRUE(close(open(QM_W("viewer"))));
  EXPECT_EQ(reads(), (Lines{"qmproperty read /tools/viewer", "qmproperty read /default/viewer",
                            "qmproperty read /default/viewer"}));
  EXPECT_EQ(journal("open"),
            (Lines{"tm_plain open name=tm_plain group=tools", "tm_other open name=tm_other group=",
                   "tm_other open name=tm_other group=(null)"}));
}

TEST_F(Aliases, AreNotAskedForWhenTheModuleIsThere) {
  load_kernel_with_store("/default/tm_plain=tm_other");
  clear_journal();
  EXPECT_TRUE(close(open(QM_W("tm_plain"))));
  EXPECT_EQ(reads(), Lines{});
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=(null)"});
}

struct Split {
  const char* value;
  const char* name;
  const char* group;
};

// The value is split at its last colon; blanks around that go, others stay.
TEST_F(Aliases, AreSplitAtTheLastColon) {
  const Split rows[] = {
      {"tm_plain", "tm_plain", "(null)"},        {"tm_plain:fast", "tm_plain", "fast"},
      {"tm_plain : fast", "tm_plain", "fast"},   {"tm_plain   :   fast", "tm_plain", "fast"},
      {"tm_plain : fast ", "tm_plain", "fast "}, {"tm_plain:", "tm_plain", "(null)"},
      {"tm_plain : a b", "tm_plain", "a b"},
  };
  for (const Split& row : rows) {
    SCOPED_TRACE(row.value);
    load_kernel_with_store(std::string("/default/viewer=") + row.value);
    EXPECT_TRUE(close(open(QM_W("viewer"))));
    EXPECT_EQ(journal("open"),
              Lines{std::string("tm_plain open name=") + row.name + " group=" + row.group});
  }
}

TEST_F(Aliases, FailWithTheReasonOfTheNameTheyLeadTo) {
  const std::pair<const char*, const char*> rows[] = {
      {"tm_absent", "tm_absent"},
      {"tm_absent : fast", "tm_absent"},
      {"a:b:c", "a:b"},
      {"C:\\x", "C"},
      {"", ""},
      {" : x", ""},
      {"%s%n", "%s%n"},
  };
  for (const auto& [value, name] : rows) {
    SCOPED_TRACE(value);
    std::string escaped;
    for (const char* at = value; *at != 0; ++at) {
      if (*at == '\\') escaped += '\\';
      escaped += *at;
    }
    load_kernel_with_store("/default/viewer=" + escaped);
    EXPECT_TRUE(open_fails(QM_W("viewer"), cannot_load(name)));
  }
}

TEST_F(Aliases, DoNotLeadToFurtherAliases) {
  load_kernel_with_store("/default/first=second\n/default/second=tm_plain");
  clear_journal();
  EXPECT_TRUE(open_fails(QM_W("first"), cannot_load("second")));
  EXPECT_EQ(reads(), Lines{"qmproperty read /default/first"});
}

TEST_F(Aliases, LeaveTheLoadingErrorWhenThereIsNone) {
  load_kernel_with_store("!error=1234\n/default/x=y");
  for (const char* name : {"tm_absent", "a%sb%i"}) {
    EXPECT_TRUE(open_fails(widen(name), cannot_load(name)));
  }
}

TEST_F(Aliases, LeaveTheLoadingErrorWhenThereIsNoStore) {
  load_kernel();
  EXPECT_TRUE(open_fails(QM_W("a%sb%i"), cannot_load("a%sb%i")));
}

TEST_F(Aliases, ReplaceALibraryThatIsNoModule) {
  install("tm_nothing");
  load_kernel_with_store("/default/tm_nothing=tm_plain");
  EXPECT_TRUE(close(open(QM_W("tm_nothing"))));
  EXPECT_EQ(journal("tm_nothing load"), Lines{"tm_nothing load"});
  EXPECT_EQ(journal("tm_nothing unload"), Lines{"tm_nothing unload"});
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=(null)"});
}

TEST_F(Aliases, AcceptALibraryWithACallEntryAlone) {
  install("tm_callonly");
  load_kernel_with_store("/default/viewer=tm_callonly");
  EXPECT_TRUE(close(open(QM_W("viewer"))));
  EXPECT_EQ(journal("info"), Lines{"tm_callonly info"});
}

TEST_F(Aliases, LeadToTheSameChecks) {
  install("tm_callonly_foreign");
  install("tm_nothing");
  load_kernel_with_store("/default/foreign=tm_callonly_foreign\n/default/nothing=tm_nothing");
  EXPECT_TRUE(open_fails(QM_W("foreign"), failure(22, "(module->id)")));
  EXPECT_FALSE(is_loaded("tm_callonly_foreign"));
  EXPECT_TRUE(open_fails(QM_W("nothing"), failure(2, "(!qm_call || !qmmoduleinfo)")));
  EXPECT_FALSE(is_loaded("tm_nothing"));
}

TEST_F(Aliases, AreNotLookedUpForThePropertyModulesThemselves) {
  load_kernel_with_store(
      "/default/qmpropclient=tm_plain\n/default/qmpropfile=tm_plain\n"
      "/default/myqmpropfile2=tm_plain\n/default/xqmpropertyx=tm_plain\n"
      "/default/QMPROPFILE=tm_plain");
  clear_journal();
  for (const char* name : {"qmpropclient", "qmpropfile", "myqmpropfile2", "xqmpropertyx"}) {
    EXPECT_TRUE(open_fails(widen(name), cannot_load(name)));
  }
  EXPECT_EQ(reads(), Lines{});
  EXPECT_TRUE(close(open(QM_W("QMPROPFILE")))) << "case matters";
}

TEST_F(Aliases, MayBeFilledToTheLastCharacterWithoutATerminator) {
  load_kernel_with_store("!full=1");
  qm_open_module_w record{QM_W("viewer"), nullptr, 0xC3C3C3C3};
  EXPECT_EQ(kernel()(QM_CALL_OPENMODULEW, &record), 0);
  EXPECT_EQ(kernel().error().code, 0x1000);
  EXPECT_EQ(record.handle, 0u);
}

TEST_F(Aliases, AreEmptyWhenTheStoreWritesNothing) {
  load_kernel_with_store("!silent=1");
  EXPECT_TRUE(open_fails(QM_W("viewer"), cannot_load("")));
}

TEST_F(Aliases, LeaveTheErrorOfTheNameThatIsNoLibrary) {
  load_kernel_with_store("/default/viewer=tm_plain");
  EXPECT_TRUE(close(open(QM_W("viewer"))));
  EXPECT_TRUE(kernel().has_error(cannot_load("viewer")));
}

// How long a module stays loaded is a matter of its own name.
TEST_F(Aliases, DoNotMakeAModuleOneOfTheFamily) {
  install("qmtm_family");
  load_kernel_with_store("/default/qmviewer=tm_plain\n/default/viewer=qmtm_family");
  EXPECT_TRUE(close(open(QM_W("qmviewer"))));
  EXPECT_FALSE(is_loaded("tm_plain"));
  EXPECT_TRUE(close(open(QM_W("viewer"))));
  EXPECT_TRUE(is_loaded("qmtm_family"));
}

TEST_F(Aliases, ServeGroupsToo) {
  load_kernel_with_store("/default/groups/x1200=viewer\n/default/viewer=tm_plain : fast");
  clear_journal();
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(kernel().through(QM_GROUP_HANDLE(0x1200), 0x12000001), 1);
  }
  EXPECT_EQ(reads(), Lines(2, "qmproperty read /default/viewer"));
  EXPECT_EQ(journal("tm_plain"), (Lines{"tm_plain load", "tm_plain notice entry=1",
                                        "tm_plain call 12000001 0", "tm_plain call 12000001 0"}));
}

// ---- Several names of one module ---------------------------------------------------------------

TEST_F(Aliases, ShareTheModuleWithItsOwnName) {
  load_kernel_with_store("/default/viewer=tm_plain\n/default/second=tm_plain");
  clear_journal();
  std::vector<std::uint32_t> handles;
  for (const qm_wchar* name : {QM_W("viewer"), QM_W("viewer"), QM_W("tm_plain"), QM_W("second")}) {
    handles.push_back(open(name));
  }
  EXPECT_EQ(journal("notice"), Lines{"tm_plain notice entry=1"});
  for (std::size_t i = 0; i < handles.size(); ++i) {
    EXPECT_TRUE(is_loaded("tm_plain")) << i;
    EXPECT_TRUE(close(handles[i]));
  }
  EXPECT_FALSE(is_loaded("tm_plain"));
  EXPECT_EQ(journal("open").size(), 4u);
  for (const std::string& line : journal("open")) {
    EXPECT_EQ(line, "tm_plain open name=tm_plain group=(null)");
  }
}

TEST_F(Aliases, ShareTheModuleThatWasOpenFirstUnderItsOwnName) {
  load_kernel_with_store("/default/viewer=tm_plain");
  clear_journal();
  const std::uint32_t first = open(QM_W("tm_plain"));
  const std::uint32_t second = open(QM_W("viewer"));
  EXPECT_EQ(journal("notice"), Lines{"tm_plain notice entry=1"});
  EXPECT_EQ(resolve(first).library, resolve(second).library);
  for (const std::uint32_t handle : {first, second}) {
    EXPECT_FALSE(close(handle));
    EXPECT_TRUE(close(handle));
  }
  EXPECT_FALSE(is_loaded("tm_plain"));
}

TEST_F(Aliases, KeepTheGroupForLaterOpensUnderTheModulesName) {
  load_kernel_with_store("/default/viewer=tm_plain : fast");
  const std::uint32_t first = open(QM_W("viewer"));
  const std::uint32_t second = open(QM_W("tm_plain"), QM_W("other"));
  EXPECT_EQ(journal("open"), (Lines{"tm_plain open name=tm_plain group=fast",
                                    "tm_plain open name=tm_plain group=fast"}));
  EXPECT_TRUE(close(first));
  EXPECT_TRUE(close(second));
}

TEST_F(Aliases, KeepTheCallersGroupWhenTheyBringNone) {
  load_kernel_with_store("/tools/viewer=tm_plain");
  EXPECT_TRUE(close(open(QM_W("viewer"), QM_W("tools"))));
  EXPECT_EQ(journal("open"), Lines{"tm_plain open name=tm_plain group=tools"});
}

// Names between, before and behind the others, and one whose alias stands elsewhere in the order.
TEST_F(Aliases, AreFoundAmongOtherModulesInWhateverOrder) {
  for (const char* name : {"tm_a1", "tm_m1", "tm_z1", "tm_z9"}) install_as("tm_plain", name);
  std::vector<std::string> names = {"b9", "tm_a1", "tm_m1", "tm_z1"};
  do {
    load_kernel_with_store("/default/b9=tm_z9");
    std::vector<std::uint32_t> handles;
    for (int round = 0; round < 2; ++round) {
      for (const std::string& name : names) handles.push_back(open(widen(name)));
    }
    EXPECT_EQ(journal("notice entry").size(), 4u + 1u) << "each module once, and the store";
    for (const std::uint32_t handle : handles) EXPECT_TRUE(close(handle));
  } while (std::next_permutation(names.begin(), names.end()));
}

TEST_F(Aliases, BindTheHandleToTheModulesOwnName) {
  load_kernel_with_store("/default/viewer=tm_plain");
  const std::uint32_t handle = open(QM_W("viewer"));
  clear_journal();
  EXPECT_EQ(kernel().through(handle, 0x12340001), 1);
  EXPECT_EQ(journal(), Lines{"tm_plain call 12340001 1"});
  EXPECT_TRUE(close(handle));
}

}  // namespace
}  // namespace contract
