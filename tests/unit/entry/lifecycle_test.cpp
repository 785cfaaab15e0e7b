// Start-up and shutdown, whole and with parts missing.
#include "kernel/entry/lifecycle.h"

#include <clocale>
#include <map>
#include <string>
#include <vector>

#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

// ---- Loading the tables once -------------------------------------------------------------------

class Lifecycle : public ModuleTest {
 protected:
  // The first call after a start is the one that may load something.
  static std::int32_t answer() { return qm_call(0, QM_CALL_NOP, nullptr); }
};

TEST_F(Lifecycle, TheTablesAreLoadedOnceByWhateverComesFirst) {
  install_store("/default/groups/1200=b");
  start();
  const Lines loading = journal();
  EXPECT_EQ(count_of(loading, "qmproperty list /default/error"), 1);
  EXPECT_EQ(count_of(loading, "qmproperty list /default/groups"), 1);
  for (int calls = 0; calls < 3; ++calls) EXPECT_EQ(answer(), 1);
  EXPECT_EQ(journal(), Lines{});
}

TEST_F(Lifecycle, TheFirstCallPinsTheNumericLocale) {
  start();
  // What the host does between the start and its first call.
  if (std::setlocale(LC_ALL, "") == nullptr) std::setlocale(LC_ALL, "C");
  EXPECT_EQ(answer(), 1);
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::setlocale(LC_ALL, "C");
}

TEST_F(Lifecycle, AfterTheEndOnlyTheErrorIsAnswered) {
  start();
  stop();
  EXPECT_TRUE(kernel_closed());
  EXPECT_EQ(answer(), 0);
  EXPECT_EQ(qm_call(0, QM_CALL_GETERRORW, nullptr), QM_ERROR_NOT_FOUND);
  EXPECT_EQ(qm_call(0x10000, QM_CALL_GETERRORA, nullptr), QM_ERROR_NOT_FOUND);
  EXPECT_EQ(qm_call(0, QM_CALL_CLOSEHANDLE, nullptr), 0);
}

// ---- Start-up that finds no memory for a part --------------------------------------------------

bool tells(std::int32_t result, std::int32_t code, const qm_wchar* detail) {
  return result == 0 && test::has_error(code, detail);
}

// The parts of the kernel that are missing, by what the calls of each answer.
std::vector<std::string> missing_parts() {
  std::vector<std::string> missing;
  qm_slot slot{1, nullptr};
  if (tells(qm_call(0, QM_CALL_SLOTCREATE, &slot), 14, QM_W("(init slot)"))) {
    missing.push_back("slots");
    EXPECT_TRUE(tells(qm_call(0, QM_CALL_SLOTJOIN, &slot), 14, QM_W("(init)")));
    EXPECT_TRUE(tells(qm_call(0, QM_CALL_SLOTRELEASE, &slot), 14, QM_W("(init)")));
  }
  qm_resolve_handle handle{0x10000, 0, nullptr, nullptr};
  if (tells(qm_call(0, QM_CALL_RESOLVEHANDLE, &handle), 22, QM_W("Not opened modules"))) {
    missing.push_back("handles");
    qm_open_module_w open{QM_W("tm_plain"), nullptr, 7};
    EXPECT_TRUE(tells(qm_call(0, QM_CALL_OPENMODULEW, &open), 12, nullptr));
    EXPECT_EQ(open.handle, 0u);
    EXPECT_EQ(qm_call(0, QM_CALL_CLOSEHANDLE, &handle), 1);
  }
  if (qm_call(0, QM_CALL_MEMCHECK, nullptr) == 0) {
    missing.push_back("memory");
    EXPECT_STANDARD_ERROR(22);
    qm_realloc block{nullptr, 8};
    EXPECT_TRUE(tells(qm_call(0, QM_CALL_REALLOC, &block), 22, nullptr));
  }
  // A group of the built-in rows.
  qm_call(0xFFFF1100, 0x11000000, nullptr);
  if (test::has_error(22, QM_W("modname?(h=ffff1100)"))) missing.push_back("groups");
  set_thread_error(22);
  if (test::thread_error().message == QM_W("Unknown Error marker")) missing.push_back("texts");
  if (qm_call(0, QM_CALL_NOP, nullptr) == 0) missing.push_back("everything");

  qm_variant_create variant{nullptr, 0, nullptr, QM_TYPE_EMPTY, 0, 0, nullptr};
  EXPECT_EQ(qm_call(0, QM_CALL_VARIANTCREATE, &variant), 1) << "works without its lock, too";
  EXPECT_EQ(qm_call(0, QM_CALL_VARIANTRELEASE, variant.variant), 1);
  return missing;
}

TEST_F(Lifecycle, AStartWithAPartMissingAnswersForIt) {
  install("tm_plain");
  std::map<std::string, int> times;
  bool refused = true;
  for (int n = 1; refused; ++n) {
    SCOPED_TRACE(n);
    refused = test::with_allocation_failing(n, test::Shortage::once, [this] { start(); });
    const std::vector<std::string> missing = missing_parts();
    EXPECT_LE(missing.size(), 1u);
    for (const std::string& part : missing) ++times[part];
    if (!refused) {
      EXPECT_TRUE(missing.empty());
    }
    stop();
    ASSERT_LT(n, 1000);
  }
  for (const char* part : {"slots", "handles", "memory", "groups", "texts"}) {
    EXPECT_GE(times[part], 1) << part;
  }
  EXPECT_EQ(times.size(), 5u);
}

}  // namespace
}  // namespace qmsd
