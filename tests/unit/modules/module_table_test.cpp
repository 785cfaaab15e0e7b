// The table of module records on its own; no library is loaded.
#include "modules/module_table.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "kernel/base/waiting.h"
#include "platform/clock.h"
#include "platform/test_hooks.h"
#include "services/text/text.h"
#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

constexpr std::uintptr_t kOtherThread = ~std::uintptr_t{0};

class Table : public testing::Test {
 protected:
  void TearDown() override {
    while (table.remove_last()) {
    }
  }
  ModuleOwner make(const qm_wchar* name) {
    return platform::heap_new<ModuleRecord>(copy_text(name), kOtherThread);
  }
  ModuleRecord& add(const qm_wchar* name) {
    ModuleOwner record = make(name);
    ModuleRecord& added = *record;
    EXPECT_EQ(table.add(record), ModuleTable::Added::added);
    return added;
  }
  ModuleRecord& add_ready(const qm_wchar* name, const qm_wchar* resolved = nullptr) {
    ModuleRecord& record = add(name);
    OpenedModule opened;
    if (resolved != nullptr) opened.resolved = copy_text(resolved);
    EXPECT_TRUE(table.publish(record, opened));
    table.mark_ready(record);
    return record;
  }
  ModuleTable::Found take(const qm_wchar* name) { return table.take(name, use); }
  // The asked names in the order in which the shutdown unloads them.
  Lines unload_order() {
    Lines names;
    while (const ModuleOwner record = table.remove_last())
      names.push_back(narrow(record->name.get()));
    return names;
  }

  ModuleTable table;
  ModuleUse use;
};

TEST_F(Table, RecordIsLoadingUntilItIsReady) {
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::absent);
  ModuleRecord& record = add(QM_W("a"));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::loading);
  OpenedModule opened;
  EXPECT_TRUE(table.publish(record, opened));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::loading);
  table.mark_ready(record);
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::ready);
  EXPECT_EQ(use.record, &record);
  EXPECT_EQ(record.users, 2);
}

TEST_F(Table, NamesAreExact) {
  add_ready(QM_W("name"));
  EXPECT_EQ(take(QM_W("Name")), ModuleTable::Found::absent);
  EXPECT_EQ(take(QM_W("nam")), ModuleTable::Found::absent);
  EXPECT_EQ(take(QM_W("names")), ModuleTable::Found::absent);
  EXPECT_EQ(take(QM_W("")), ModuleTable::Found::absent);
  EXPECT_EQ(take(nullptr), ModuleTable::Found::absent);
}

TEST_F(Table, NameIsEnteredOnce) {
  add(QM_W("a"));
  ModuleOwner second = make(QM_W("a"));
  EXPECT_EQ(table.add(second), ModuleTable::Added::exists);
  EXPECT_NE(second, nullptr);
}

TEST_F(Table, AliasedRecordIsFoundUnderItsRealNameOnly) {
  add_ready(QM_W("a"), QM_W("z"));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::absent);
  EXPECT_EQ(take(QM_W("z")), ModuleTable::Found::ready);
}

TEST_F(Table, SecondRecordForOneRealNameIsNotPublished) {
  const ModuleRecord& first = add_ready(QM_W("a"), QM_W("z"));
  ModuleRecord& second = add(QM_W("b"));
  OpenedModule opened;
  opened.resolved = copy_text(QM_W("z"));
  EXPECT_FALSE(table.publish(second, opened));
  EXPECT_NE(opened.resolved, nullptr);
  EXPECT_EQ(take(QM_W("z")), ModuleTable::Found::ready);
  EXPECT_EQ(use.record, &first);
  EXPECT_EQ(take(QM_W("b")), ModuleTable::Found::loading);
}

TEST_F(Table, EveryRecordIsFoundWhateverItsAlias) {
  // Asked names and real names run in opposite directions.
  for (qm_wchar letter = QM_W('a'); letter <= QM_W('z'); ++letter) {
    const qm_wchar asked[] = {letter, 0};
    const qm_wchar real[] = {QM_W('x'), static_cast<qm_wchar>(QM_W('a') + QM_W('z') - letter), 0};
    add_ready(asked, letter % 2 == 0 ? real : nullptr);
  }
  for (qm_wchar letter = QM_W('a'); letter <= QM_W('z'); ++letter) {
    const qm_wchar asked[] = {letter, 0};
    const qm_wchar real[] = {QM_W('x'), static_cast<qm_wchar>(QM_W('a') + QM_W('z') - letter), 0};
    EXPECT_EQ(take(letter % 2 == 0 ? real : asked), ModuleTable::Found::ready)
        << static_cast<char>(letter);
  }
}

TEST_F(Table, OrderIsByAskedNameThenRealName) {
  add_ready(QM_W("m"), QM_W("x"));
  add_ready(QM_W("m"), QM_W("y"));
  add_ready(QM_W("a"));
  add_ready(QM_W("z"), QM_W("b"));
  ModuleRecord& unaliased = add_ready(QM_W("m"));
  EXPECT_EQ(take(QM_W("m")), ModuleTable::Found::ready);
  EXPECT_EQ(use.record, &unaliased);
  Lines keys;
  while (const ModuleOwner record = table.remove_last()) keys.push_back(narrow(record->key()));
  EXPECT_EQ(keys, (Lines{"a", "m", "x", "y", "b"}));
}

TEST_F(Table, NamesAreOrderedByTheirUnits) {
  for (const qm_wchar* name : {QM_W("ab"), QM_W("A"), QM_W("a"), QM_W("b")}) add_ready(name);
  EXPECT_EQ(unload_order(), (Lines{"A", "a", "ab", "b"}));
}

TEST_F(Table, LastUseTakesTheRecordOut) {
  add_ready(QM_W("a"));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::ready);
  EXPECT_EQ(table.give_back(use, 1), nullptr);
  const ModuleOwner gone = table.give_back(use, 1);
  EXPECT_EQ(gone.get(), use.record);
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::absent);
}

TEST_F(Table, MoreUsesThanThereAreTakeTheRecordOutToo) {
  add_ready(QM_W("a"));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::ready);
  EXPECT_NE(table.give_back(use, 3), nullptr);
}

TEST_F(Table, UseOfAVanishedRecordCanBeGivenBack) {
  ModuleRecord& record = add_ready(QM_W("a"));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::ready);
  EXPECT_NE(table.remove(record), nullptr);
  EXPECT_EQ(table.give_back(use, 1), nullptr);
}

TEST_F(Table, UseIsNotTakenFromALaterRecordAtTheSameAddress) {
  const ModuleRecord& later = add_ready(QM_W("a"));
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::ready);
  const ModuleUse earlier{use.record, use.id - 1};
  EXPECT_EQ(table.give_back(earlier, 2), nullptr);
  EXPECT_EQ(later.users, 2);
}

TEST_F(Table, CountsTheLoadsThatEndedOneWayOrTheOther) {
  ModuleOwner owned = make(QM_W("a"));
  ModuleRecord& record = *owned;
  EXPECT_EQ(table.add(owned), ModuleTable::Added::added);
  EXPECT_EQ(table.ended_loads(), 0u);
  table.mark_ready(record);
  EXPECT_EQ(table.ended_loads(), 1u);
  EXPECT_NE(table.remove(record), nullptr);
  EXPECT_EQ(table.ended_loads(), 2u);
}

TEST_F(Table, FailedEntryLeavesTheTableAlone) {
  ModuleOwner record = make(QM_W("a"));
  test::with_allocation_failing(1, test::Shortage::once, [this, &record] {
    EXPECT_EQ(table.add(record), ModuleTable::Added::no_memory);
  });
  EXPECT_NE(record, nullptr);
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::absent);
  EXPECT_EQ(table.add(record), ModuleTable::Added::added);
  EXPECT_EQ(take(QM_W("a")), ModuleTable::Found::loading);
}

thread_local bool t_never_returns = false;
std::atomic<bool> g_inside{false};

bool stay_inside(std::size_t) {
  if (!t_never_returns) return true;
  g_inside = true;
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

// As if the thread had been killed while it entered a record.
bool leaves_a_torn_table_alone() {
  static ModuleTable table;
  platform::set_allocation_gate(stay_inside);
  std::thread([] {
    ModuleOwner record =
        platform::heap_new<ModuleRecord>(copy_text(QM_W("a")), platform::current_thread_id());
    t_never_returns = true;
    table.add(record);
  }).detach();
  while (!g_inside) std::this_thread::yield();
  give_up_waiting();
  return table.remove_last() == nullptr;
}

TEST(TornTable, IsLeftAlone) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(leaves_a_torn_table_alone() ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace qmsd
