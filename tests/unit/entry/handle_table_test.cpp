// The handle table: resolving, the report of its size, and the end.
#include "kernel/entry/handle_table.h"

#include <stdexcept>

#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class HandleTable : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
  }
  static std::string statistics() { return handle_statistics().c_str(); }
  Lines closes() {
    Lines lines = journal();
    std::erase_if(lines,
                  [](const std::string& line) { return !line.starts_with("tm_plain close"); });
    return lines;
  }
};

TEST_F(HandleTable, ResolvesABoundHandleAndKeepsAReference) {
  start();
  const std::uint32_t handle = open("tm_plain");
  qm_resolve_handle record{handle, 0, nullptr, nullptr};
  EXPECT_TRUE(handle_resolve(&record));
  EXPECT_EQ(record.owner_handle, 1u);
  EXPECT_NE(record.library, nullptr);
  ASSERT_NE(record.entry, nullptr);
  journal();
  EXPECT_EQ(record.entry(record.owner_handle, 0x12340001, nullptr), 1);
  EXPECT_EQ(journal(), Lines{"tm_plain call 12340001 1"});
  close(handle);
  EXPECT_EQ(closes(), Lines{});
  close(handle);
  EXPECT_EQ(closes(), Lines{"tm_plain close 1"});
}

TEST_F(HandleTable, ResolvesNoUnboundHandleAndKeepsNoReference) {
  start();
  const std::uint32_t handle = handle_issue();
  int some = 0;
  qm_resolve_handle record{handle, 7, &some, &qm_call};
  EXPECT_FALSE(handle_resolve(&record));
  EXPECT_STANDARD_ERROR(QM_ERROR_ARGUMENT);
  EXPECT_EQ(record.owner_handle, 0u);
  EXPECT_EQ(record.library, nullptr);
  EXPECT_EQ(record.entry, nullptr);
  EXPECT_EQ(handle_drop(handle), HandleDrop::last);
}

TEST_F(HandleTable, RefusesCallsThroughAnUnboundHandle) {
  start();
  const std::uint32_t handle = handle_issue();
  EXPECT_FALSE(handle_call(handle, 0x12340001, nullptr));
  EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("(handle->type?=ffffffff)"));
}

TEST_F(HandleTable, BindsAHandleOnlyOnce) {
  start();
  const std::uint32_t handle = handle_issue();
  EXPECT_TRUE(handle_bind(handle, QM_W("nobody"), 1));
  EXPECT_FALSE(handle_bind(handle, QM_W("nobody"), 2));
  EXPECT_STANDARD_ERROR(QM_ERROR_ARGUMENT);
  EXPECT_FALSE(handle_bind(handle + 1, QM_W("nobody"), 1));
}

TEST_F(HandleTable, AnswersWithoutATable) {
  qm_handle_ref handle{0x10000};
  EXPECT_TRUE(handle_release(&handle));
  EXPECT_TRUE(handle_release(nullptr));
  EXPECT_EQ(handle.handle, 0x10000u);
  EXPECT_EQ(handle_issue(), 0u);
  start();
  stop();
  const test::ErrorState errors;
  EXPECT_FALSE(handle_reference(handle));
  EXPECT_ERROR(QM_ERROR_NOT_FOUND, QM_W("(handle=00010000)"));
  qm_resolve_handle record{};
  EXPECT_FALSE(handle_resolve(&record));
  EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("Not opened modules"));
  EXPECT_FALSE(handle_call(0x10000, 0x12340001, nullptr));
  EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("(Closed handle: 00010000, cmd=12340001, nhs: 0)"));
}

// ---- The report --------------------------------------------------------------------------------

TEST_F(HandleTable, ReportsCountAndSizeWithTheirChanges) {
  start();
  statistics();
  EXPECT_EQ(statistics(), "[QMHANDLES] nhandles: 0 (0), allsize: 56 (0) bytes\n");
  const std::uint32_t unbound = handle_issue();
  EXPECT_EQ(statistics(), "[QMHANDLES] nhandles: 1 (1), allsize: 88 (32) bytes\n");
  // A bound one also counts its name, "tm_plain" and the terminator, at two bytes each.
  open("tm_plain");
  open("tm_plain");
  EXPECT_EQ(statistics(), "[QMHANDLES] nhandles: 3 (2), allsize: 188 (100) bytes\n");
  EXPECT_EQ(statistics(), "[QMHANDLES] nhandles: 3 (0), allsize: 188 (0) bytes\n");
  EXPECT_EQ(handle_drop(unbound), HandleDrop::last);
  EXPECT_EQ(statistics(), "[QMHANDLES] nhandles: 2 (-1), allsize: 156 (-32) bytes\n");
}

TEST_F(HandleTable, ReportsExhaustedMemoryByAnException) {
  start();
  test::with_allocation_failing(1, test::Shortage::once,
                                [] { EXPECT_THROW(handle_statistics(), std::runtime_error); });
}

// ---- The end -----------------------------------------------------------------------------------

TEST_F(HandleTable, ClosesTheOldestFirstAndThenWhatWasOpenedMeanwhile) {
  start();
  open("tm_plain");
  change(open("tm_plain"), TM_CLOSE_OPENS, 1);
  open("tm_plain");
  journal();
  stop();
  EXPECT_EQ(closes(), (Lines{"tm_plain close 1", "tm_plain close 2", "tm_plain close 3",
                             "tm_plain close 4"}));
}

TEST_F(HandleTable, EndsAlthoughEveryCloseOpensAgain) {
  start();
  open("tm_plain");
  change(open("tm_plain"), TM_CLOSE_OPENS, 1000000);
  journal();
  stop();
  EXPECT_EQ(closes().size(), 1002u);
}

}  // namespace
}  // namespace qmsd
