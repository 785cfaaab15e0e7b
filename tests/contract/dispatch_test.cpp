// The entry itself: what is answered with a handle, what without, and the kernel's own record.
#include <clocale>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

using Dispatch = KernelTest;

TEST_F(Dispatch, TellsThatTheKernelAnswers) {
  EXPECT_EQ(kernel()(QM_CALL_NOP), 1);
  auto record = poisoned<std::array<std::uint32_t, 4>>();
  EXPECT_EQ(kernel()(QM_CALL_NOP, &record), 1);
  EXPECT_TRUE(is_poison(record));
}

TEST_F(Dispatch, ExportsOneNameOnly) {
  EXPECT_NE(kernel().library().find("qm_call"), nullptr);
  for (const char* name : {"qm_call@12", "_qm_call@12", "_qm_call", "qmmoduleinfo"}) {
    EXPECT_EQ(kernel().library().find(name), nullptr) << name;
  }
}

TEST_F(Dispatch, KeepsTheErrorOfAnEarlierCallWhenACallSucceeds) {
  const Error planted = kernel().plant_error();
  qm_info_request request{};
  qm_realloc nothing{nullptr, 0};
  EXPECT_EQ(kernel()(QM_CALL_NOP), 1);
  EXPECT_EQ(kernel()(QM_CALL_GETKERNELINFO, &request), 1);
  EXPECT_EQ(kernel()(QM_CALL_REALLOC, &nothing), 1);
  EXPECT_EQ(kernel()(QM_CALL_MEMCHECK), 1);
  EXPECT_EQ(kernel()(QM_CALL_CLOSE), 1);
  EXPECT_EQ(kernel().error(), planted);
}

TEST_F(Dispatch, RefusesToOpenAModuleThroughAHandle) {
  for (const std::uint32_t handle : {0x1u, 0x10000u, 0xFFFF1100u, 0xFFFFFFFFu}) {
    qm_open_module_w record{QM_W("any"), nullptr, 0xC3C3C3C3};
    const Failure refusal = failure(22, "(handle[%08x] != NULL && function == 10030000)", handle);
    EXPECT_TRUE(kernel().refuses_through(handle, QM_CALL_OPENMODULEW, record, refusal));
    EXPECT_TRUE(kernel().fails(handle, QM_CALL_OPENMODULEW, nullptr, refusal));
  }
}

TEST_F(Dispatch, SendsEveryOtherCodeWithAHandleToTheHandlesOwner) {
  for (const std::uint32_t code :
       {std::uint32_t{QM_CALL_NOP}, std::uint32_t{QM_CALL_GETERRORW},
        std::uint32_t{QM_CALL_GETERRORA}, std::uint32_t{QM_CALL_REALLOC},
        std::uint32_t{QM_CALL_OPENMODULEA}, std::uint32_t{QM_CALL_CLOSEHANDLE},
        std::uint32_t{QM_CALL_REFHANDLE}, std::uint32_t{QM_CALL_UNREFHANDLE},
        std::uint32_t{QM_CALL_CLOSE}, 0u, 0x12345678u, 0xFFFFFFFFu}) {
    auto record = poisoned<std::array<std::uint32_t, 8>>();
    EXPECT_TRUE(
        kernel().refuses_through(0x00010000, code, record,
                                 failure(22, "(Closed handle: 00010000, cmd=%08x, nhs: 0)", code)));
  }
}

TEST_F(Dispatch, RefusesAGroupThatNoModuleServes) {
  for (const std::uint32_t group : {0x0000u, 0x10FFu, 0x110Cu, 0x1112u, 0x1114u, 0xFFFFu}) {
    const std::uint32_t handle = QM_GROUP_HANDLE(group);
    auto record = poisoned<std::array<std::uint32_t, 8>>();
    EXPECT_TRUE(kernel().refuses_through(handle, QM_CALL_NOP, record,
                                         failure(22, "modname?(h=%08x)", handle)));
  }
}

TEST_F(Dispatch, TellsAboutTheKernelInItsInformationRecord) {
  auto request = poisoned<qm_info_request>();
  ASSERT_EQ(kernel()(QM_CALL_GETKERNELINFO, &request), 1);
  const qm_module_info& info = *request.info;
  EXPECT_EQ(info.id, 0x716D0000u);
  EXPECT_EQ(info.version, 0x0703011Du);
  EXPECT_STREQ(info.description, "QM Library (rev: 49d3a6e)");
  EXPECT_EQ(Text(info.description_wide), QM_W("QM Library (rev: 49d3a6e)"));
  EXPECT_EQ(info.call, kernel().entry());
  EXPECT_EQ(info.call(0, QM_CALL_NOP, nullptr), 1);
}

TEST_F(Dispatch, KeepsTheInformationRecordWhereItIs) {
  qm_info_request first{};
  qm_info_request second{};
  kernel()(QM_CALL_GETKERNELINFO, &first);
  kernel()(QM_CALL_GETKERNELINFO, &second);
  EXPECT_EQ(first.info, second.info);
}

TEST_F(Dispatch, GoesOnWorkingAfterTheEndWasAnnounced) {
  for (int times = 0; times < 3; ++times) EXPECT_EQ(kernel()(QM_CALL_CLOSE), 1);
  auto record = poisoned<std::array<std::uint32_t, 2>>();
  EXPECT_EQ(kernel()(QM_CALL_CLOSE, &record), 1);
  EXPECT_TRUE(is_poison(record));
  release(allocate(8));
}

// A locale that both the runtime knows and is not "C".
#ifdef _WIN32
constexpr const char* kOtherLocale = "English_United States.1252";
#else
constexpr const char* kOtherLocale = "C.UTF-8";
#endif

TEST_F(Dispatch, PinsTheNumericLocaleWithTheFirstCallAndNotAgain) {
  ASSERT_NE(std::setlocale(LC_NUMERIC, kOtherLocale), nullptr);
  const std::string other = std::setlocale(LC_NUMERIC, nullptr);
  EXPECT_EQ(kernel()(QM_CALL_NOP), 1);
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::setlocale(LC_NUMERIC, kOtherLocale);
  EXPECT_EQ(kernel()(QM_CALL_NOP), 1);
  EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), other);
}

TEST_F(Dispatch, PinsTheNumericLocaleWithAFirstCallThroughAHandleToo) {
  ASSERT_NE(std::setlocale(LC_NUMERIC, kOtherLocale), nullptr);
  EXPECT_EQ(kernel().through(0x10000, QM_CALL_NOP), 0);
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

}  // namespace
}  // namespace contract
