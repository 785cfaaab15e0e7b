// Errors are what they were when the call failed.
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <thread>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

constexpr std::uint32_t kUnknown = 0x1000ABCD;

using ClientErrors = ClientTest;

TEST_F(ClientErrors, AreCapturedBeforeOtherCallsOverwriteThem) {
  const auto unknown = kernel().try_call(kUnknown);
  const auto missing = qm::ModuleHandle::try_open(kernel(), "no_such_module");
  kernel().set_error(77, "something else");
  ASSERT_TRUE(fails_with(QM_ERROR_ARGUMENT, unknown));
  ASSERT_TRUE(fails_with(QM_ERROR_LOAD, missing));
  EXPECT_TRUE(unknown.error().text().ends_with("  [qmsd] (function=1000abcd?,handle=00000000)"));
  EXPECT_NE(missing.error().text().find("('no_such_module'->'"), std::string_view::npos);
  EXPECT_EQ(unknown.error().wide_text(), qm::to_wide(unknown.error().text()));
  EXPECT_STREQ(unknown.error().what(), std::string(unknown.error().text()).c_str());
}

TEST_F(ClientErrors, ThrownTheyAreTheSame) {
  EXPECT_TRUE(throws_with(QM_ERROR_ARGUMENT, [] { kernel().call(kUnknown); }));
  EXPECT_TRUE(throws_with(QM_ERROR_NO_MEMORY, [&] {
    spy().refuse(QM_CALL_NOP);
    kernel().call(QM_CALL_NOP);
  }));
}

TEST_F(ClientErrors, TravelToOtherThreads) {
  std::exception_ptr carried;
  std::thread([&] {
    try {
      kernel().call(kUnknown);
    } catch (...) {
      carried = std::current_exception();
    }
  }).join();
  EXPECT_TRUE(throws_with(QM_ERROR_ARGUMENT, [&] { std::rethrow_exception(carried); }));
  EXPECT_EQ(kernel().error().code(), 0) << "this thread's own error state";
}

TEST_F(ClientErrors, KeepTheLongestMessage) {
  const std::string longest(2047, 'x');
  kernel().set_error(qm::Error(5, longest + "cut"));
  EXPECT_EQ(kernel().error().text(), longest);
}

TEST_F(ClientErrors, AreSetLiterallyOrExactly) {
  kernel().set_error(QM_ERROR_RANGE, "100 %s");
  EXPECT_EQ(kernel().error().code(), QM_ERROR_RANGE);
  EXPECT_TRUE(kernel().error().text().ends_with(" 100 %s"));
  const qm::Error before = kernel().error();
  kernel().set_error(QM_ERROR_BUSY, "other");
  kernel().set_error(before);
  EXPECT_EQ(kernel().error().text(), before.text());
}

TEST_F(ClientErrors, OfNoKernelAreClear) {
  const qm::Kernel none;
  EXPECT_FALSE(none);
  EXPECT_EQ(none.call_raw(0, QM_CALL_NOP), 0);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, none.try_call(QM_CALL_NOP)));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::Variant::try_create(none, 5)));
  EXPECT_EQ(none.error().text(), "there is no kernel behind this object");
}

TEST_F(ClientErrors, ResultsOtherThan1AreHandedOn) {
  kernel().set_error(77, "seventy-seven");
  EXPECT_EQ(kernel().call(QM_CALL_GETERRORW), 77);
}

using ClientErrorStates = ClientTest;

TEST_F(ClientErrorStates, AreRestoredByGuards) {
  kernel().set_error(1, "outer");
  const qm::Error outer = kernel().error();
  {
    const qm::ErrorStateGuard first(kernel());
    kernel().set_error(2, "inner");
    const qm::Error inner = kernel().error();
    {
      const qm::ErrorStateGuard second(kernel());
      EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, kernel().try_call(kUnknown)));
    }
    EXPECT_EQ(kernel().error().text(), inner.text());
  }
  EXPECT_EQ(kernel().error().code(), 1);
  EXPECT_EQ(kernel().error().text(), outer.text());
  EXPECT_EQ(spy().served(QM_CALL_PUSHERROR), 2);
  EXPECT_EQ(spy().served(QM_CALL_POPERROR), 2);
}

TEST_F(ClientErrorStates, WithoutErrorAreRestoredToNone) {
  {
    const qm::ErrorStateGuard guard(kernel());
    EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, kernel().try_call(kUnknown)));
  }
  EXPECT_EQ(kernel().error().code(), 0);
  EXPECT_EQ(kernel().error().text(), "");
}

TEST_F(ClientErrorStates, ThatCouldNotBeSavedAreNotRestored) {
  kernel().set_error(1, "kept by nobody");
  {
    spy().refuse(QM_CALL_PUSHERROR);
    const qm::ErrorStateGuard guard(kernel());
  }
  EXPECT_EQ(spy().served(QM_CALL_POPERROR), 0);
  EXPECT_EQ(kernel().error().code(), QM_ERROR_NO_MEMORY);
}

TEST_F(ClientErrorStates, OutliveTheEndOfOwners) {
  install_examples();
  kernel().set_error(1, "the failure");
  const qm::Error before = kernel().error();
  { const auto counter = qm::ModuleHandle::open(kernel(), "excounter"); }
  { const auto buffer = qm::Buffer::allocate(kernel(), 8); }
  { const auto slot = qm::Slot::create(kernel()); }
  { const auto variant = qm::Variant::create(kernel(), 5); }
  EXPECT_TRUE(qm::live_blocks(kernel()).empty());
  EXPECT_EQ(kernel().error().code(), 1);
  EXPECT_EQ(kernel().error().text(), before.text());
}

}  // namespace
}  // namespace client_test
