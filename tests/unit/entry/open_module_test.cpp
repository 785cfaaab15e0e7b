// Opening: what the record holds afterwards, and handles that vanish meanwhile.
#include "kernel/entry/open_module.h"

#include "kernel/entry/handle_table.h"
#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class OpenModule : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
  }
};

constexpr const qm_wchar* kPlain = QM_W("tm_plain");

TEST_F(OpenModule, LeavesTheCallersTextsInTheRecord) {
  install_store("/own/viewer=tm_plain : fast");
  start();
  for (const qm_wchar* name : {QM_W("viewer"), QM_W("missing")}) {
    const qm_wchar* group = QM_W("own");
    qm_open_module_w record{name, group, 0xA5A5};
    const bool opened = open_module_wide(&record);
    EXPECT_EQ(record.name, name);
    EXPECT_EQ(record.group, group);
    EXPECT_EQ(opened, record.handle != 0);
  }
  EXPECT_EQ(count_of(journal(), "tm_plain open name=tm_plain group=fast"), 1);
}

TEST_F(OpenModule, LendsFieldsBehindTheKnownOnesToTheModule) {
  set_environment("TM_SETTINGS", "tm_plain.open_fields=1");
  start();
  tm_open_module record{{kPlain, nullptr, 0}, 7, 8};
  EXPECT_TRUE(open_module_wide(&record.open));
  EXPECT_EQ(record.first, 8u);
  EXPECT_EQ(record.second, 9u);
}

TEST_F(OpenModule, WritesNoHandleWhenItFails) {
  start();
  qm_open_module_w nameless{nullptr, nullptr, 0xA5A5};
  EXPECT_FALSE(open_module_wide(&nameless));
  EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("(!ptr || !name)"));
  EXPECT_EQ(nameless.handle, 0u);
  qm_open_module_a nameless_too{nullptr, nullptr, 0xA5A5};
  EXPECT_FALSE(open_module_narrow(&nameless_too));
  EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("(!ptr || !name)"));
  EXPECT_EQ(nameless_too.handle, 0u);
  EXPECT_FALSE(open_module_wide(nullptr));
  EXPECT_FALSE(open_module_narrow(nullptr));
}

TEST_F(OpenModule, ShowsTheModuleAWideRecordForNarrowTexts) {
  start();
  qm_open_module_a record{"tm_plain", "own", 0};
  EXPECT_TRUE(open_module_narrow(&record));
  EXPECT_EQ(record.handle, 0x10000u);
  EXPECT_EQ(count_of(journal(), "tm_plain open name=tm_plain group=own"), 1);
}

TEST_F(OpenModule, ClosesTheInstanceWhenItsHandleWasReleasedMeanwhile) {
  start();
  const std::uint32_t first = open("tm_plain");
  change(first, TM_OPEN_RELEASES, static_cast<std::int32_t>(first + 1));
  journal();
  qm_open_module_w record{kPlain, nullptr, 0};
  EXPECT_FALSE(open_module_wide(&record));
  EXPECT_STANDARD_ERROR(QM_ERROR_ARGUMENT);
  EXPECT_EQ(record.handle, 0u);
  EXPECT_EQ(record.name, kPlain);
  EXPECT_EQ(count_of(journal(), "tm_plain close 2"), 1);
  change(first, TM_OPEN_RELEASES, 0);
  EXPECT_EQ(open("tm_plain"), first + 2) << "the value is used up";
}

// ---- Exhausted memory --------------------------------------------------------------------------

class OpenModuleWithoutMemory : public OpenModule,
                                public testing::WithParamInterface<test::Shortage> {};

TEST_P(OpenModuleWithoutMemory, LeavesRecordTableAndInstancesInOrder) {
  install_store("/own/viewer=tm_plain : fast");
  start();
  open("tm_plain");
  open("viewer", "own");
  bool refused = true;
  for (int n = 1; refused; ++n) {
    SCOPED_TRACE(n);
    journal();
    const qm_wchar* name = QM_W("viewer");
    const qm_wchar* group = QM_W("own");
    qm_open_module_w record{name, group, 0xA5A5};
    std::int32_t result = 0;
    refused = test::with_allocation_failing(
        n, GetParam(), [&] { result = qm_call(0, QM_CALL_OPENMODULEW, &record); });
    EXPECT_EQ(record.name, name);
    EXPECT_EQ(record.group, group);
    EXPECT_EQ(result != 0, record.handle != 0);
    if (result == 0) {
      EXPECT_TRUE(refused);
      EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
    } else {
      close(record.handle);
    }
    std::ptrdiff_t opened = 0;
    std::ptrdiff_t closed = 0;
    for (const std::string& line : journal()) {
      opened += line.starts_with("tm_plain open");
      closed += line.starts_with("tm_plain close");
    }
    EXPECT_EQ(opened, closed) << "an instance without a handle";
    ASSERT_LT(n, 1000);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, OpenModuleWithoutMemory,
                         testing::Values(test::Shortage::once, test::Shortage::from_then_on,
                                         test::Shortage::throws));

}  // namespace
}  // namespace qmsd
