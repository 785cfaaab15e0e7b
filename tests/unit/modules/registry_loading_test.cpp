// Loading a module by its name and the check of its exports.
#include "modules/registry.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class Loading : public ModuleTest {};

TEST_F(Loading, FirstOpenTellsTheModuleTheKernelsEntryBeforeAnythingElse) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain", "fast");
  EXPECT_EQ(journal(), (Lines{"tm_plain load", "tm_plain notice entry=1",
                              "tm_plain open name=tm_plain group=fast"}));
  close(handle);
}

TEST_F(Loading, LaterOpensFindTheLoadedModule) {
  install("tm_plain");
  start();
  const std::uint32_t first = open("tm_plain");
  journal();
  const std::uint32_t second = open("tm_plain");
  EXPECT_NE(first, second);
  EXPECT_EQ(journal(), Lines{"tm_plain open name=tm_plain group=(null)"});
  close(first);
  close(second);
}

TEST_F(Loading, EmptyGroupStaysEmpty) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain", "");
  EXPECT_EQ(journal().back(), "tm_plain open name=tm_plain group=");
  close(handle);
}

TEST_F(Loading, ModuleSeesTheCallersFurtherFields) {
  install("tm_plain");
  start();
  const std::uint32_t handle = open("tm_plain");
  change(handle, TM_OPEN_FIELDS, 1);
  journal();
  tm_open_module record{{QM_W("tm_plain"), nullptr, 0}, 40, 50};
  EXPECT_EQ(qm_call(0, QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_EQ(journal().back(), "tm_plain open fields=40,50");
  EXPECT_EQ(record.first, 41u);
  EXPECT_EQ(record.second, 51u);
  close(record.open.handle);
  close(handle);
}

TEST_F(Loading, MissingLibraryFailsWithTheSystemsWords) {
  start();
  EXPECT_EQ(open("tm_absent"), 0u);
  EXPECT_EQ(test::thread_error().code, QM_ERROR_LOAD);
  EXPECT_NE(error_message().find("[qmsd] ('tm_absent'->'"), std::string::npos) << error_message();
}

TEST_F(Loading, ClosingAModuleThatIsNotLoadedSucceeds) {
  start();
  for (const std::uint32_t code : {QM_CALL_CLOSEHANDLE, QM_CALL_UNREFHANDLE}) {
    EXPECT_EQ(registry_call(QM_W("tm_absent"), 1, code, nullptr, UseMode::instance), 1);
    EXPECT_EQ(registry_call(nullptr, 1, code, nullptr, UseMode::instance), 1);
  }
}

TEST_F(Loading, NameIsNeeded) {
  start();
  EXPECT_EQ(registry_call(nullptr, 1, TM_RESULT, nullptr, UseMode::instance), 0);
  EXPECT_STANDARD_ERROR(QM_ERROR_ARGUMENT);
}

TEST_F(Loading, ReferencesAreNoBusinessOfTheModule) {
  start();
  EXPECT_EQ(registry_call(QM_W("tm_absent"), 1, QM_CALL_REFHANDLE, nullptr, UseMode::instance), 1);
}

TEST_F(Loading, WithoutATableNothingOpensAndEverythingIsClosed) {
  // Before the start there is no table yet.
  EXPECT_EQ(registry_call(QM_W("x"), 1, QM_CALL_CLOSEHANDLE, nullptr, UseMode::instance), 1);
  EXPECT_EQ(registry_call(QM_W("x"), 1, TM_RESULT, nullptr, UseMode::instance), 0);
}

TEST_F(Loading, NoticesResultDoesNotMatter) {
  install("tm_plain");
  set_environment("TM_SETTINGS", "tm_plain.notice_result=0");
  start();
  const std::uint32_t handle = open("tm_plain");
  EXPECT_NE(handle, 0u);
  close(handle);
}

TEST_F(Loading, ModuleWithoutCallEntryLoadsButCannotBeCalled) {
  install("tm_nullcall");
  start();
  EXPECT_EQ(open("tm_nullcall"), 0u);
  EXPECT_ERROR(QM_ERROR_NOT_FOUND, QM_W("('tm_nullcall' -> qm_call?)"));
  EXPECT_EQ(journal(), Lines{"tm_nullcall load"});
}

TEST_F(Loading, ModuleCannotOpenItselfWhileItIsToldTheEntry) {
  install("tm_selfopen");
  start();
  const std::uint32_t handle = open("tm_selfopen");
  EXPECT_EQ(journal(), (Lines{"tm_selfopen load", "tm_selfopen notice entry=1",
                              "tm_selfopen nested 10030000 result=0 error=10",
                              "tm_selfopen open name=tm_selfopen group=(null)"}));
  close(handle);
}

TEST_F(Loading, ModuleCannotOpenItselfWhileItsLibraryIsBeingLoaded) {
  install("tm_loadopen");
  char entry[32];
  std::snprintf(entry, sizeof entry, "%llx",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(&qm_call)));
  set_environment("TM_KERNEL", entry);
  start();
  const std::uint32_t handle = open("tm_loadopen");
  EXPECT_EQ(journal(), (Lines{"tm_loadopen load", "tm_loadopen nested 10030000 result=0 error=10",
                              "tm_loadopen notice entry=1",
                              "tm_loadopen open name=tm_loadopen group=(null)"}));
  close(handle);
}

struct Exports {
  const char* module;
  bool accepted;
  std::int32_t code;
  const qm_wchar* message;
};

void PrintTo(const Exports& row, std::ostream* out) { *out << row.module; }

class LoadingChecks : public ModuleTest, public testing::WithParamInterface<Exports> {};

TEST_P(LoadingChecks, WhatTheLibraryExports) {
  const Exports& row = GetParam();
  install(row.module);
  start();
  const std::uint32_t handle = open(row.module);
  EXPECT_EQ(handle != 0, row.accepted);
  const Lines lines = journal();
  const std::string name = row.module;
  EXPECT_EQ(lines.front(), name + " load");
  if (row.accepted) {
    EXPECT_EQ(count_of(lines, name + " notice entry=1"), 1);
    close(handle);
  } else {
    EXPECT_EQ(count_of(lines, name + " notice entry=1"), 0);
    EXPECT_EQ(lines.back(), name + " unload");
    EXPECT_ERROR(row.code, row.message);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Modules, LoadingChecks,
    testing::Values(
        Exports{"tm_plain", true, 0, nullptr}, Exports{"tm_noversion", true, 0, nullptr},
        Exports{"tm_foreign_basic", true, 0, nullptr}, Exports{"tm_extended", true, 0, nullptr},
        Exports{"tm_extended_basic", true, 0, nullptr},
        Exports{"tm_extended_foreign", true, 0, nullptr},
        Exports{"tm_extended_none", true, 0, nullptr},
        Exports{"tm_nothing", false, QM_ERROR_NOT_FOUND, QM_W("(!qm_call || !qmmoduleinfo)")},
        Exports{"tm_callonly", false, QM_ERROR_NOT_FOUND, QM_W("(!qm_call || !qmmoduleinfo)")},
        Exports{"tm_foreign", false, QM_ERROR_ARGUMENT, QM_W("(module->id)")},
        Exports{"tm_foreign_norecord", false, QM_ERROR_NOT_FOUND,
                QM_W("(!qmcall || !qmmoduleinfo)")},
        Exports{"tm_foreign_nocall", false, QM_ERROR_NOT_FOUND,
                QM_W("(!qm_call || !qmmoduleinfo)")}),
    [](const auto& row) { return std::string(row.param.module); });

TEST_F(Loading, RefusalToAnswerFailsWithoutAMessage) {
  for (const char* module : {"tm_foreign_refuses", "tm_extended_refuses"}) {
    install(module);
  }
  start();
  for (const char* module : {"tm_foreign_refuses", "tm_extended_refuses"}) {
    set_thread_error(77);
    EXPECT_EQ(open(module), 0u);
    EXPECT_EQ(test::thread_error().code, 77);
    EXPECT_EQ(journal().back(), std::string(module) + " unload");
  }
}

TEST_F(Loading, FailedLoadingCanBeTriedAgain) {
  start();
  EXPECT_EQ(open("tm_plain"), 0u);
  install("tm_plain");
  const std::uint32_t handle = open("tm_plain");
  EXPECT_NE(handle, 0u);
  close(handle);
}

}  // namespace
}  // namespace qmsd
