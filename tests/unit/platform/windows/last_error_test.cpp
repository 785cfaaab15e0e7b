// What may run between a failure and its report leaves the thread's last error alone.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/environment.h"
#include "platform/heap.h"
#include "platform/keep_errors.h"
#include "platform/thread_slot.h"

namespace qmsd::platform {
namespace {

constexpr DWORD kMarker = 4711;

class LastError : public testing::Test {
 protected:
  void SetUp() override { ::SetLastError(kMarker); }
  void TearDown() override { EXPECT_EQ(::GetLastError(), kMarker); }
};

TEST_F(LastError, SurvivesFreeing) {
  void* block = heap_allocate(1 << 20);
  ::SetLastError(kMarker);
  heap_free(block);
}

TEST_F(LastError, SurvivesReadingAThreadSlot) {
  ThreadSlot slot;
  ASSERT_TRUE(slot.create(nullptr));
  ::SetLastError(kMarker);
  EXPECT_EQ(slot.get(), nullptr);
  EXPECT_EQ(::GetLastError(), kMarker);
  slot.destroy();
  ::SetLastError(kMarker);
}

TEST_F(LastError, SurvivesAMissingVariable) {
  char value[8];
  EXPECT_EQ(read_variable("QMSD_NO_SUCH_VARIABLE", value, sizeof value), Variable::missing);
}

TEST_F(LastError, ComesBackAtTheEndOfAScope) {
  const KeepErrors keep;
  ::SetLastError(1);
}

}  // namespace
}  // namespace qmsd::platform
