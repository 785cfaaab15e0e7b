// Every code without a record: refused in its own words, or served.
#include "tests/contract/support/function_codes.h"
#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

using NullRecords = KernelTest;

TEST_F(NullRecords, AreRefusedByEveryCodeThatNeedsOne) {
  for (const NeedsRecord& entry : kNeedRecord) {
    SCOPED_TRACE(printable(text_of("code %08x", entry.code)));
    EXPECT_TRUE(kernel().fails(entry.code, nullptr, failure(22, entry.refusal)));
  }
}

TEST_F(NullRecords, AreNeverTakenForAnUnknownCode) {
  for (const NeedsRecord& entry : kNeedRecord) {
    kernel()(entry.code);
    EXPECT_EQ(kernel().error().message.find(QM_W("(function=")), Text::npos) << entry.refusal;
  }
}

TEST_F(NullRecords, AreNoMatterToCodesThatNeedNone) {
  EXPECT_EQ(kernel()(QM_CALL_NOP), 1);
  EXPECT_EQ(kernel()(QM_CALL_PUSHERROR), 1);
  EXPECT_EQ(kernel()(QM_CALL_POPERROR), 1);
  EXPECT_EQ(kernel()(QM_CALL_MEMCHECK), 1);
  EXPECT_EQ(kernel()(QM_CALL_GETKERNELINFO), 1);
  EXPECT_EQ(kernel()(QM_CALL_CLOSE), 1);
}

TEST_F(NullRecords, StillLetTheErrorCodeBeRead) {
  EXPECT_EQ(kernel()(QM_CALL_GETERRORW), 0);
  EXPECT_EQ(kernel()(QM_CALL_GETERRORA), 0);
  const Error planted = kernel().plant_error();
  EXPECT_EQ(kernel()(QM_CALL_GETERRORW), planted.code);
  EXPECT_EQ(kernel()(QM_CALL_GETERRORA), planted.code);
}

}  // namespace
}  // namespace contract
