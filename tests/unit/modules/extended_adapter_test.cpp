// Calls of extended modules, row by row, against an older call entry made for the test.
#include "modules/extended_adapter.h"

#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

struct OldCall {
  std::uint32_t handle;
  std::uint32_t code;
  void* record;
};

OldCall g_seen;
std::string g_seen_texts;
std::int32_t g_answer;
int g_info;

std::int32_t QM_STDCALL old_entry(std::uint32_t handle, std::uint32_t code, void* record) {
  g_seen = {handle, code, record};
  g_seen_texts.clear();
  if (code == TM_OLD_OPEN) {
    auto* open = static_cast<tm_old_open*>(record);
    g_seen_texts = std::string(open->name) + "|" + open->group;
    open->handle = 77;
  }
  if (code == TM_OLD_CLOSE) {
    g_seen_texts = std::to_string(static_cast<qm_handle_ref*>(record)->handle);
  }
  if (code == TM_OLD_INFO) static_cast<tm_old_info*>(record)->info = &g_info;
  return g_answer;
}

class ExtendedModule : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    start();
    g_seen = {};
    g_answer = 0;
  }
  static std::int32_t send(std::uint32_t handle, std::uint32_t code, void* record) {
    return call_extended(&old_entry, handle, code, record);
  }
  void fails_as_told(std::uint32_t code, void* record) {
    g_answer = 0x1234;
    EXPECT_EQ(send(5, code, record), 0);
    EXPECT_ERROR(0x1234, QM_W("(old error=00001234)"));
  }
};

TEST_F(ExtendedModule, OpensWithNarrowTexts) {
  qm_open_module_w record{QM_W("viewer"), QM_W("fast"), 0};
  EXPECT_EQ(send(5, QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_EQ(g_seen.handle, 0u);
  EXPECT_EQ(g_seen.code, TM_OLD_OPEN);
  EXPECT_EQ(g_seen_texts, "viewer|fast");
  EXPECT_EQ(record.handle, 77u);
}

TEST_F(ExtendedModule, OpensInTheDefaultGroup) {
  for (const qm_wchar* group : {static_cast<const qm_wchar*>(nullptr), QM_W("")}) {
    qm_open_module_w record{QM_W("viewer"), group, 0};
    EXPECT_EQ(send(0, QM_CALL_OPENMODULEW, &record), 1);
    EXPECT_EQ(g_seen_texts, "viewer|default");
  }
}

TEST_F(ExtendedModule, FailedOpenLeavesTheHandleAlone) {
  qm_open_module_w record{QM_W("viewer"), nullptr, 3};
  fails_as_told(QM_CALL_OPENMODULEW, &record);
  EXPECT_EQ(record.handle, 3u);
}

TEST_F(ExtendedModule, Closes) {
  qm_handle_ref record{1};
  EXPECT_EQ(send(5, QM_CALL_CLOSEHANDLE, &record), 1);
  EXPECT_EQ(g_seen.handle, 5u);
  EXPECT_EQ(g_seen.code, TM_OLD_CLOSE);
  EXPECT_EQ(g_seen_texts, "5");
  fails_as_told(QM_CALL_CLOSEHANDLE, nullptr);
}

TEST_F(ExtendedModule, TellsItsInformation) {
  qm_info_request record{nullptr};
  EXPECT_EQ(send(5, QM_CALL_GETKERNELINFO, &record), 1);
  EXPECT_EQ(g_seen.handle, 0u);
  EXPECT_EQ(g_seen.code, TM_OLD_INFO);
  EXPECT_EQ(static_cast<const void*>(record.info), &g_info);
  EXPECT_EQ(send(5, QM_CALL_GETKERNELINFO, nullptr), 1);
  fails_as_told(QM_CALL_GETKERNELINFO, &record);
}

TEST_F(ExtendedModule, GetsOtherCodesUnchanged) {
  int record = 0;
  g_answer = -7;
  for (const std::uint32_t code :
       {0x10030003u, 0x10030006u, 0x10030007u, 0x1003000Cu, 0x1003000Du, 0x1002FFFFu, 0x10030010u,
        0x1003FFFFu, 0x11050001u, 0u, 0xFFFFFFFFu}) {
    EXPECT_EQ(send(5, code, &record), -7) << std::hex << code;
    EXPECT_EQ(g_seen.handle, 5u);
    EXPECT_EQ(g_seen.code, code);
    EXPECT_EQ(g_seen.record, &record);
  }
}

TEST_F(ExtendedModule, NeverGetsTheRestOfItsRange) {
  for (const std::uint32_t code : {0x10030001u, 0x10030005u, 0x10030008u, 0x10030009u, 0x1003000Au,
                                   0x1003000Bu, 0x1003000Eu, 0x1003000Fu}) {
    g_seen = {};
    EXPECT_EQ(send(5, code, nullptr), 0) << std::hex << code;
    EXPECT_EQ(g_seen.code, 0u);
    EXPECT_ERROR(QM_ERROR_ARGUMENT, QM_W("(old error=00000000)"));
  }
}

TEST_F(ExtendedModule, WorksThroughHandles) {
  install("tm_extended");
  const std::uint32_t handle = open("tm_extended", "fast");
  EXPECT_EQ(call(handle, 0x2F000001), 1);
  close(handle);
  EXPECT_EQ(journal(), (Lines{"tm_extended load", "tm_extended notice entry=1",
                              "tm_extended old 0fff0011 0 name=tm_extended group=fast",
                              "tm_extended old 2f000001 1", "tm_extended old 0fff0012 1 closes 1",
                              "tm_extended unload"}));
}

TEST_F(ExtendedModule, IsCalledDirectlyIfItHasABasicRecordToo) {
  install("tm_extended_basic");
  close(open("tm_extended_basic"));
  EXPECT_EQ(journal(), (Lines{"tm_extended_basic load", "tm_extended_basic info",
                              "tm_extended_basic notice entry=1",
                              "tm_extended_basic open name=tm_extended_basic group=(null)",
                              "tm_extended_basic close 1", "tm_extended_basic unload"}));
}

TEST_F(ExtendedModule, IsNotCalledThroughAForeignRecord) {
  install("tm_extended_foreign");
  close(open("tm_extended_foreign"));
  const Lines lines = journal();
  EXPECT_EQ(lines[2], "tm_extended_foreign notice entry=1");
  EXPECT_EQ(lines[3], "tm_extended_foreign old 0fff0011 0 name=tm_extended_foreign group=default");
}

}  // namespace
}  // namespace qmsd
