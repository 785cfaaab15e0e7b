// What the property store adds to the group table and the error texts.
#include "modules/table_loader.h"

#include <cstring>
#include <thread>

#include "services/tables/error_texts.h"
#include "services/tables/group_table.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class TableLoader : public ModuleTest {
 protected:
  void start_with(const std::string& store) {
    install_store(store);
    start();
  }
  // The module that serves the group, "-" for none.
  static std::string group(std::uint16_t id) {
    qm_wchar name[kGroupNameLength];
    return groups_lookup(id, name) ? narrow(name) : "-";
  }
  // The text of the code, "-" for none.
  static std::string text(std::int32_t code) {
    qm_wchar buffer[2048];
    const TextFound found = error_texts_lookup(code, buffer, 2048);
    return found == TextFound::text || found == TextFound::empty ? narrow(buffer) : "-";
  }
  Lines asked() {
    Lines lines = journal();
    std::erase_if(lines, [](const std::string& line) {
      return !line.starts_with("qmproperty read") && !line.starts_with("qmproperty list");
    });
    return lines;
  }
};

TEST_F(TableLoader, ListsErrorTextsFirstThenGroups) {
  start_with("/default/error/57=text\n/default/groups/x1200=tm_plain");
  EXPECT_EQ(asked(),
            (Lines{"qmproperty list /default/error", "qmproperty read /default/error/57",
                   "qmproperty list /default/groups", "qmproperty read /default/groups/x1200"}));
  EXPECT_EQ(text(0x57), "text");
  EXPECT_EQ(group(0x1200), "tm_plain");
}

TEST_F(TableLoader, LinesEndInAnyMixOfReturnsAndFeeds) {
  start_with(
      "/default/groups/=x1100\\r\\nx1200\\n\\n1201\n/default/groups/x1100=qmproperty\n"
      "/default/groups/x1200=b\n/default/groups/1201=c");
  EXPECT_EQ(group(0x1100), "qmproperty");
  EXPECT_EQ(group(0x1200), "b");
  EXPECT_EQ(group(0x1201), "c");
}

TEST_F(TableLoader, ReplacedRowServesTheNextReadAlready) {
  // From then on there is nobody to ask.
  start_with("/default/groups/1100=tm_absent\n/default/groups/1200=b");
  EXPECT_EQ(group(0x1100), "tm_absent");
  EXPECT_EQ(group(0x1200), "-");
}

struct Name {
  const char* name;
  std::int32_t id;  // 0: ignored
};

TEST_F(TableLoader, NamesAreHexadecimalNumbers) {
  const Name kNames[] = {
      {"x1301", 0x1301},  {"1302", 0x1302},
      {"0x1303", 0x1303}, {"x0x1304", 0x1304},
      {"xx1305", 0},      {"X1306", 0},
      {"1307 a", 0x1307}, {"ffffffff", 0x7FFFFFFF},
      {"-1", -1},         {"-ffffffff", INT32_MIN},
      {"0", 0},           {"xyz", 0},
      {"+130a", 0x130A},  {" 130b", 0x130B},
      {"0X130C", 0x130C}, {"dEf", 0xDEF},
  };
  std::string listing = "/default/error/=";
  std::string values;
  for (const Name& row : kNames) {
    listing += std::string(row.name) + "\\n";
    values += "\n/default/error/" + std::string(row.name) + "=" + row.name;
  }
  start_with(listing + values);
  Lines expected = {"qmproperty list /default/error"};
  for (const Name& row : kNames) {
    if (row.id == 0) continue;
    EXPECT_EQ(text(row.id), row.name);
    expected.push_back("qmproperty read /default/error/" + std::string(row.name));
  }
  expected.push_back("qmproperty list /default/groups");
  EXPECT_EQ(asked(), expected);
}

TEST_F(TableLoader, ChildPathsAreCut) {
  const std::string end(14, 'a');
  start_with("/default/groups/=1" + end + "\\n1" + end + "b\\n1" + end + "bc\n/default/error/=1" +
             end + "b\\n1" + end + "bc");
  EXPECT_EQ(asked(), (Lines{
                         "qmproperty list /default/error",
                         "qmproperty read /default/error/1" + end + "b",
                         "qmproperty read /default/error/1" + end + "b",
                         "qmproperty list /default/groups",
                         "qmproperty read /default/groups/1" + end,
                         "qmproperty read /default/groups/1" + end,
                         "qmproperty read /default/groups/1" + end,
                     }));
}

TEST_F(TableLoader, UnreadableChildIsSkipped) {
  start_with("/default/groups/=1200\\n1201\n/default/groups/1201=c");
  EXPECT_EQ(group(0x1200), "-");
  EXPECT_EQ(group(0x1201), "c");
}

TEST_F(TableLoader, EmptyValueIsAnEmptyText) {
  start_with("/default/groups/1200=\n/default/error/57=");
  EXPECT_EQ(group(0x1200), "");
  EXPECT_EQ(text(0x57), "");
}

TEST_F(TableLoader, StoreThatWritesNothingIsAnEmptyListing) {
  start_with("!silent=1");
  EXPECT_EQ(asked(), (Lines{"qmproperty list /default/error", "qmproperty list /default/groups"}));
  EXPECT_EQ(text(0), "");
}

TEST_F(TableLoader, StoreThatNeverTerminatesIsCutAtTheBuffersEnd) {
  start_with("!full=1");
  EXPECT_EQ(asked(), (Lines{"qmproperty list /default/error", "qmproperty list /default/groups"}));
}

TEST_F(TableLoader, LongValuesAreCut) {
  start_with("/default/error/57=" + std::string(2000, 'v') +
             "\n/default/groups/1200=" + std::string(200, 'n'));
  EXPECT_EQ(text(0x57), std::string(1023, 'v'));
  EXPECT_EQ(group(0x1200), std::string(127, 'n'));
}

TEST_F(TableLoader, NoErrorHasNoTextWhereThereIsAStore) {
  start_with("/default/error/0=x\n/default/error/57=text");
  EXPECT_EQ(text(0), "");
}

TEST_F(TableLoader, WithoutAStoreNoErrorHasTheRuntimesText) {
  start();
  EXPECT_EQ(text(0), std::string(std::strerror(0)));
}

TEST_F(TableLoader, FailedListingLeavesTheTextOfNoErrorAlone) {
  start_with("/default/groups/1200=b");
  EXPECT_EQ(text(0), std::string(std::strerror(0)));
}

TEST_F(TableLoader, BuiltInRowsStay) {
  start();
  EXPECT_EQ(group(0x1100), "qmproperty");
  EXPECT_EQ(group(0x110C), "-");
}

TEST_F(TableLoader, LeavesNoErrorBehind) {
  start();
  EXPECT_NO_ERROR();
  EXPECT_EQ(qm_call(0, QM_CALL_POPERROR, nullptr), 0);
}

TEST_F(TableLoader, LeavesNoErrorOfTheStoreBehind) {
  start_with("!error=4d\n/default/groups/1200=b");
  EXPECT_EQ(group(0x1200), "b");
  EXPECT_NO_ERROR();
}

TEST_F(TableLoader, LoadsOncePerLife) {
  start_with("/default/groups/1200=b");
  groups_set(0x1200, nullptr);
  journal();
  error_texts_load();
  groups_load();
  EXPECT_EQ(asked(), Lines{});
  stop();
  start();
  EXPECT_EQ(group(0x1200), "b");
}

TEST_F(TableLoader, StoreMayUseTheKernelWhileItIsToldTheEntry) {
  install("tm_plain");
  start_with("!open=tm_plain\n!text=57:from the notice");
  const Lines lines = journal();
  EXPECT_EQ(count_of(lines, "tm_plain open name=tm_plain group=(null)"), 1);
  EXPECT_EQ(count_of(lines, "qmproperty nested 10030000 result=1 error=0"), 1);
  EXPECT_EQ(text(0x57), "from the notice");
}

TEST_F(TableLoader, OtherThreadsDoNotWaitForASlowStore) {
  install_store("!sleep=400\n/default/groups/1200=b");
  std::thread attaching([this] { start(); });
  while (count_of(asked(), "qmproperty list /default/error") == 0) std::this_thread::yield();
  EXPECT_EQ(qm_call(0, QM_CALL_REFHANDLE, nullptr), 0);
  EXPECT_EQ(qm_call(QM_GROUP_HANDLE(0x1200), QM_CALL_NOP, nullptr), 0);
  EXPECT_EQ(group(0x1200), "-");
  attaching.join();
  EXPECT_EQ(group(0x1200), "b");
}

}  // namespace
}  // namespace qmsd
