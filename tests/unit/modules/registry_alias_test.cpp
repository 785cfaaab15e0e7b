// Modules found under another name, which the property store tells.
#include <algorithm>

#include "modules/registry.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class Aliases : public ModuleTest {
 protected:
  // The store's own lines are left out, but for the paths that it was asked after the start.
  Lines module_lines() { return without("qmproperty "); }
  Lines asked_paths() {
    Lines paths;
    for (const std::string& line : journal()) {
      if (line.starts_with("qmproperty read ")) paths.push_back(line.substr(16));
    }
    return paths;
  }
  void start_with(const std::string& store) {
    install_store(store);
    start();
    journal();
  }

 private:
  Lines without(std::string_view prefix) {
    Lines lines = journal();
    std::erase_if(lines, [prefix](const std::string& line) { return line.starts_with(prefix); });
    return lines;
  }
};

TEST_F(Aliases, ModuleSeesItsRealNameAndTheAliasGroup) {
  install("tm_plain");
  start_with("/default/viewer=tm_plain : fast");
  const std::uint32_t handle = open("viewer");
  EXPECT_EQ(module_lines(), (Lines{"tm_plain load", "tm_plain notice entry=1",
                                   "tm_plain open name=tm_plain group=fast"}));
  close(handle);
  EXPECT_EQ(module_lines(), (Lines{"tm_plain close 1", "tm_plain unload"}));
}

TEST_F(Aliases, CallersRecordIsAsBefore) {
  install("tm_plain");
  start_with("/own/viewer=tm_plain : fast");
  qm_open_module_w record{QM_W("viewer"), QM_W("own"), 0};
  const qm_open_module_w before = record;
  EXPECT_EQ(qm_call(0, QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_EQ(record.name, before.name);
  EXPECT_EQ(record.group, before.group);
  close(record.handle);
}

TEST_F(Aliases, GroupChoosesThePath) {
  start_with("/own/viewer=x");
  EXPECT_EQ(open("viewer", "own"), 0u);
  EXPECT_EQ(open("viewer", ""), 0u);
  EXPECT_EQ(open("viewer"), 0u);
  EXPECT_EQ(asked_paths(), (Lines{"/own/viewer", "/default/viewer", "/default/viewer"}));
}

TEST_F(Aliases, LongGroupIsCut) {
  start_with("");
  EXPECT_EQ(open("v", std::string(600, 'g').c_str()), 0u);
  EXPECT_EQ(asked_paths(), Lines{"/" + std::string(511, 'g') + "/v"});
}

TEST_F(Aliases, ExistingLibraryNeedsNone) {
  install("tm_plain");
  start_with("/default/tm_plain=tm_other");
  const std::uint32_t handle = open("tm_plain", "own");
  EXPECT_EQ(journal().back(), "tm_plain open name=tm_plain group=own");
  close(handle);
}

TEST_F(Aliases, PropertyModulesAreNeverLookedUp) {
  start_with("/default/qmpropclient=tm_plain");
  for (const char* name : {"qmpropclient", "qmpropfile", "myqmpropfile2", "xqmproperty"}) {
    EXPECT_EQ(open(name), 0u);
  }
  EXPECT_EQ(asked_paths(), Lines{});
  EXPECT_EQ(open("QMPROPFILE"), 0u);
  EXPECT_EQ(asked_paths(), Lines{"/default/QMPROPFILE"});
}

TEST_F(Aliases, WithoutOneTheLoadingErrorStays) {
  start_with("!error=4d");
  EXPECT_EQ(open("a%sb%i"), 0u);
  EXPECT_EQ(asked_paths(), Lines{"/default/a%sb%i"});
  EXPECT_EQ(test::thread_error().code, QM_ERROR_LOAD);
  const std::string message = error_message();
  EXPECT_NE(message.find("('a%sb%i'->'"), std::string::npos) << message;
  EXPECT_EQ(message.find("from the store"), std::string::npos) << message;
}

TEST_F(Aliases, MissingTargetIsTheOneReported) {
  start_with("/default/viewer=tm_absent");
  EXPECT_EQ(open("viewer"), 0u);
  EXPECT_NE(error_message().find("('tm_absent'->'"), std::string::npos);
}

TEST_F(Aliases, TargetNeedsNoInformationExport) {
  install("tm_callonly");
  start_with("/default/viewer=tm_callonly");
  const std::uint32_t handle = open("viewer");
  EXPECT_EQ(module_lines(),
            (Lines{"tm_callonly load", "tm_callonly info", "tm_callonly notice entry=1",
                   "tm_callonly open name=tm_callonly group=(null)"}));
  close(handle);
}

TEST_F(Aliases, TargetIsCheckedLikeAnyModule) {
  for (const char* module : {"tm_callonly_foreign", "tm_nothing", "tm_foreign_refuses"}) {
    install(module);
  }
  start_with(
      "/default/a=tm_callonly_foreign\n/default/b=tm_nothing\n/default/c=tm_foreign_refuses");
  EXPECT_EQ(open("a"), 0u);
  EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("(module->id)"));
  EXPECT_EQ(open("b"), 0u);
  EXPECT_ERROR(QM_ERROR_NOT_FOUND, QM_W("(!qm_call || !qmmoduleinfo)"));
  EXPECT_EQ(open("c"), 0u);
  const Lines lines = module_lines();
  for (const char* module : {"tm_callonly_foreign", "tm_nothing", "tm_foreign_refuses"}) {
    EXPECT_EQ(count_of(lines, std::string(module) + " unload"), 1) << module;
  }
}

TEST_F(Aliases, LibraryThatIsNoModuleHasAnAliasToo) {
  install("tm_nothing");
  install("tm_plain");
  start_with("/default/tm_nothing=tm_plain");
  const std::uint32_t handle = open("tm_nothing");
  EXPECT_EQ(module_lines(),
            (Lines{"tm_nothing load", "tm_nothing unload", "tm_plain load",
                   "tm_plain notice entry=1", "tm_plain open name=tm_plain group=(null)"}));
  close(handle);
}

TEST_F(Aliases, LaterOpensByTheRealNameGetTheAliasGroup) {
  install("tm_plain");
  start_with("/default/viewer=tm_plain : fast");
  const std::uint32_t first = open("viewer");
  journal();
  const std::uint32_t second = open("tm_plain", "slow");
  EXPECT_EQ(module_lines(), Lines{"tm_plain open name=tm_plain group=fast"});
  close(first);
  close(second);
}

TEST_F(Aliases, WithoutAGroupLaterOpensKeepTheirOwn) {
  install("tm_plain");
  start_with("/default/viewer=tm_plain");
  const std::uint32_t first = open("viewer");
  journal();
  const std::uint32_t second = open("tm_plain", "slow");
  EXPECT_EQ(module_lines(), Lines{"tm_plain open name=tm_plain group=slow"});
  close(first);
  close(second);
}

TEST_F(Aliases, EveryWayToOneModuleMeetsInOneRecord) {
  install("tm_plain");
  start_with("/default/viewer=tm_plain : fast\n/default/reader=tm_plain : slow");
  const std::uint32_t handles[] = {open("viewer"), open("viewer"), open("reader"),
                                   open("tm_plain")};
  Lines lines = module_lines();
  EXPECT_EQ(count_of(lines, "tm_plain load"), 1);
  EXPECT_EQ(count_of(lines, "tm_plain notice entry=1"), 1);
  for (const std::uint32_t handle : handles) {
    EXPECT_EQ(count_of(module_lines(), "tm_plain unload"), 0);
    close(handle);
  }
  EXPECT_EQ(module_lines(), (Lines{"tm_plain close 4", "tm_plain unload"}));
}

TEST_F(Aliases, OpenedDirectlyFirstTheModuleIsFoundThroughItsAlias) {
  install("tm_plain");
  start_with("/default/viewer=tm_plain : fast");
  const std::uint32_t first = open("tm_plain", "own");
  journal();
  const std::uint32_t second = open("viewer", "");
  EXPECT_EQ(module_lines(), Lines{"tm_plain open name=tm_plain group=fast"});
  close(first);
  close(second);
  EXPECT_EQ(count_of(module_lines(), "tm_plain unload"), 1);
}

TEST_F(Aliases, EachRecordIsFoundWhateverTheOrderOfOpening) {
  for (const char* name : {"a1", "m1", "z1", "z9"}) install("tm_plain", name);
  start_with("/default/b9=z9");
  Lines order = {"a1", "b9", "m1", "z1"};
  do {
    std::vector<std::uint32_t> handles;
    for (const std::string& name : order) handles.push_back(open(name));
    for (const char* name : {"a1", "m1", "z1", "z9"}) handles.push_back(open(name));
    const Lines lines = module_lines();
    for (const char* name : {"a1", "m1", "z1", "z9"}) {
      EXPECT_EQ(count_of(lines, std::string(name) + " notice entry=1"), 1) << name;
    }
    for (const std::uint32_t handle : handles) close(handle);
    EXPECT_EQ(count_of(module_lines(), "z9 unload"), 1);
  } while (std::next_permutation(order.begin(), order.end()));
}

struct Value {
  const char* value;
  const char* name;
  const char* group;  // null: the caller's stays
};

TEST_F(Aliases, ValueSplitsAtItsLastColon) {
  install("tm_plain", "n");
  install("tm_plain", "a.b");
  const Value kValues[] = {
      {"n", "n", nullptr},           {"n : g", "n", "g"},  {"n:g", "n", "g"},
      {"n   :   g h ", "n", "g h "}, {"n:", "n", nullptr}, {"n : ", "n", nullptr},
      {"a.b:g", "a.b", "g"},
  };
  start_with("/default/none=x");
  for (const Value& row : kValues) {
    const std::string lines = "/default/viewer=" + std::string(row.value);
    tm_store_set store{lines.c_str()};
    EXPECT_EQ(qm_call(QM_PROPERTY_HANDLE, TM_STORE_SET, &store), 1);
    const std::uint32_t handle = open("viewer");
    const std::string group = row.group == nullptr ? "(null)" : row.group;
    const std::string name = row.name;
    EXPECT_EQ(count_of(module_lines(), name + " open name=" + name + " group=" + group), 1)
        << row.value;
    close(handle);
    journal();
  }
}

TEST_F(Aliases, NameBeforeTheLastColonIsTakenAsItIs) {
  start_with("/default/two=a:b:c\n/default/drive=C:\\\\x\n/default/empty=\n/default/blank= :g");
  const Value kNames[] = {
      {"two", "a:b", ""}, {"drive", "C", ""}, {"empty", "", ""}, {"blank", "", ""}};
  for (const Value& row : kNames) {
    EXPECT_EQ(open(row.value), 0u);
    const std::string message = error_message();
    EXPECT_NE(message.find("('" + std::string(row.name) + "'->'"), std::string::npos) << message;
  }
}

TEST_F(Aliases, ValueFillsItsBufferToTheLastCharacter) {
  start_with("!full=1");
  EXPECT_EQ(open("viewer"), 0u);
  const std::string message = error_message();
  EXPECT_NE(message.find("('" + std::string(511, 'x') + "'->'"), std::string::npos) << message;
}

TEST_F(Aliases, SilentStoreMeansAnEmptyName) {
  start_with("!silent=1");
  EXPECT_EQ(open("viewer"), 0u);
  EXPECT_NE(error_message().find("(''->'"), std::string::npos);
}

TEST_F(Aliases, ExtendedModulesGetTheirAliasToo) {
  install("tm_extended");
  start_with("/default/viewer=tm_extended : fast");
  const std::uint32_t handle = open("viewer");
  EXPECT_EQ(journal().back(), "tm_extended old 0fff0011 0 name=tm_extended group=fast");
  close(handle);
}

}  // namespace
}  // namespace qmsd
