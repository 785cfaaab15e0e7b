// Calls of a kit-made module through the kernel: records, results, and what becomes of exceptions.
#include <initializer_list>

#include "tests/toolkit/module/module_kit_test.h"

namespace toolkit_test {
namespace {

using kit::Number;
using kit::Sum;

class ModuleCalls : public ModuleKit {
 protected:
  void SetUp() override {
    ModuleKit::SetUp();
    handle_ = open(QM_W("kitmodule"));
  }
  void TearDown() override {
    EXPECT_TRUE(close(handle_));
    ModuleKit::TearDown();
  }

  std::uint32_t handle_ = 0;
};

TEST_F(ModuleCalls, HandlersGetTheirRecord) {
  EXPECT_EQ(add(handle_, 5), 5);
  EXPECT_EQ(add(handle_, -7), -2);
}

TEST_F(ModuleCalls, HandlersWithoutRecordIgnoreOne) {
  add(handle_, 5);
  EXPECT_TRUE(call(handle_, kit::kReset));
  EXPECT_EQ(add(handle_, 1), 1);
  Number unused{0};
  EXPECT_TRUE(call(handle_, kit::kReset, unused));
  EXPECT_EQ(add(handle_, 0), 0);
}

TEST_F(ModuleCalls, HandlersThatTakeAPointerMayGetNone) {
  EXPECT_TRUE(call(handle_, kit::kPeek));
  Sum expected{0, 0};
  EXPECT_TRUE(call(handle_, kit::kPeek, expected));
  Sum other{1, 0};
  EXPECT_FALSE(call(handle_, kit::kPeek, other));
  EXPECT_TRUE(has_error(QM_ERROR_RANGE, QM_W("(step)")));
}

TEST_F(ModuleCalls, MissingRecordIsRefusedBeforeTheHandlerRuns) {
  for (const std::uint32_t code : {kit::kAdd, kit::kRaw, kit::kThrow, kit::kCount, kit::kSucceed,
                                   kit::kMeanwhile, kit::Code{QM_CALL_SETKERNELENTRY}}) {
    kernel().plant_error();
    EXPECT_FALSE(call(handle_, code)) << code;
    EXPECT_TRUE(has_error(QM_ERROR_ARGUMENT, QM_W("(!ptr)"))) << code;
  }
  EXPECT_EQ(add(handle_, 0), 0);
}

TEST_F(ModuleCalls, NumberThatAHandlerReturnsIsTheResult) {
  const qm_resolve_handle direct = inside(handle_);
  for (const std::int32_t result : {1, 0, -1, 7}) {
    Number record{result};
    EXPECT_EQ(direct.entry(direct.owner_handle, kit::kRaw, &record), result);
    EXPECT_EQ(call(handle_, kit::kRaw, record), result != 0);
  }
}

TEST_F(ModuleCalls, HandlersMayReturnAResult) {
  Number good{0};
  EXPECT_TRUE(call(handle_, kit::kSucceed, good));
  Number bad{QM_ERROR_BUSY};
  EXPECT_FALSE(call(handle_, kit::kSucceed, bad));
  EXPECT_EQ(kernel().error(), (contract::Error{QM_ERROR_BUSY, QM_W("as asked for")}));
}

// Variants with object references call like this, without an instance.
TEST_F(ModuleCalls, HandlersMayTakeAValueInPlaceOfARecord) {
  const qm_resolve_handle direct = inside(handle_);
  const auto object = [&](std::uint32_t code, std::uintptr_t value) {
    return direct.entry(0, code, reinterpret_cast<void*>(value));
  };
  EXPECT_EQ(object(kit::kRetain, 5), 1);
  EXPECT_EQ(object(kit::kRetain, 0), 1) << "0 is a value, too";
  EXPECT_EQ(count(handle_).objects, 5);
  EXPECT_EQ(object(kit::kGiveUp, 5), 1);
  EXPECT_EQ(count(handle_).objects, 0);
}

TEST_F(ModuleCalls, ObjectReferencesOfVariantsReachTheirHandlers) {
  const qm_object_data object{6, QM_W("kitmodule"), {kit::kRetain, kit::kGiveUp, 0, 0}};
  qm_variant_create record{nullptr, 0, nullptr, QM_TYPE_OBJECT, 4, 1, &object};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1)
      << testing::PrintToString(kernel().error());
  EXPECT_EQ(count(handle_).objects, 6);
  ASSERT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.variant), 1);
  EXPECT_EQ(count(handle_).objects, 0);
}

TEST_F(ModuleCalls, UnknownCodesAreRefused) {
  const std::uint32_t owner = inside(handle_).owner_handle;
  Number record{0};
  for (const std::uint32_t code :
       {0x1300000Au, 0x12FFFFFFu, 0x13010000u, 0u, 0xFFFFFFFFu,
        // The kernel's own, sent to a handle; some are not the module's to answer.
        std::uint32_t{QM_CALL_OPENMODULEA}, std::uint32_t{QM_CALL_UNREFHANDLE},
        std::uint32_t{QM_CALL_CLOSE}, std::uint32_t{QM_CALL_NOP}}) {
    EXPECT_FALSE(call(handle_, code, record)) << code;
    EXPECT_TRUE(has_error(QM_ERROR_ARGUMENT,
                          contract::text_of("(function=%08x?,handle=%08x)", code, owner)));
  }
}

struct Consequence {
  kit::Thrown thrown;
  std::int32_t code;
  Text text;
  bool whole = false;  // the text is the whole message
};

const Consequence kConsequences[] = {
    {kit::kFailure, 0x8123, QM_W("(speed=7)")},
    {kit::kOwnError, 77, QM_W("gr\u00fc\u00dfe 100%s"), true},
    {kit::kInvalidArgument, QM_ERROR_ARGUMENT, QM_W("caf\u00e9")},
    {kit::kOutOfRange, QM_ERROR_RANGE, QM_W("(index)")},
    {kit::kOtherException, QM_ERROR_DAMAGED, QM_W("%s%n")},
    {kit::kNoException, QM_ERROR_DAMAGED, QM_W("something that is no std::exception was thrown")},
};

TEST_F(ModuleCalls, ExceptionsBecomeTheCallersError) {
  for (const Consequence& expected : kConsequences) {
    Number record{expected.thrown};
    kernel().plant_error();
    EXPECT_FALSE(call(handle_, kit::kThrow, record)) << expected.thrown;
    if (expected.whole) {
      EXPECT_EQ(kernel().error(), (contract::Error{expected.code, expected.text}));
    } else {
      EXPECT_TRUE(has_error(expected.code, expected.text)) << expected.thrown;
    }
  }
}

TEST_F(ModuleCalls, ErrorOfACallThatFailedInsideIsPassedOn) {
  EXPECT_FALSE(kernel()(0x1000ABCD));
  const contract::Error direct = kernel().error();
  kernel().plant_error();
  Number record{kit::kKernelError};
  EXPECT_FALSE(call(handle_, kit::kThrow, record));
  EXPECT_EQ(kernel().error(), direct);
}

TEST_F(ModuleCalls, ExhaustedMemoryIsError12) {
  Number record{kit::kNoMemory};
  EXPECT_FALSE(call(handle_, kit::kThrow, record));
  EXPECT_EQ(kernel().error(), (contract::Error{12, contract::runtime_text(12) + QM_W(" ")}));
}

TEST_F(ModuleCalls, SystemErrorsKeepTheirCode) {
  Number record{kit::kSystemError};
  EXPECT_FALSE(call(handle_, kit::kThrow, record));
  EXPECT_EQ(kernel().error().code, 17);
  EXPECT_NE(contract::printable(kernel().error().message).find("] (file): "), std::string::npos)
      << testing::PrintToString(kernel().error());
}

TEST_F(ModuleCalls, GroupHandleReachesFreeFunctionsOnly) {
  // Without a property store no row of the group table is this module's; its side is called.
  const qm_resolve_handle direct = inside(handle_);
  kit::Instances instances{-1, -1};
  EXPECT_EQ(direct.entry(0, kit::kCount, &instances), 1);
  EXPECT_EQ(instances.live, 1);
  Sum sum{1, 0};
  EXPECT_EQ(direct.entry(0, kit::kAdd, &sum), 0);
  EXPECT_TRUE(has_error(QM_ERROR_NOT_FOUND, QM_W("(handle=00000000)")));
}

TEST_F(ModuleCalls, WrongHandlesReachNothing) {
  const qm_resolve_handle direct = inside(handle_);
  for (const std::uint32_t wrong : {direct.owner_handle + 1, direct.owner_handle + 16, 0xFFFFFFFFu,
                                    direct.owner_handle | 0x80000000u}) {
    Sum sum{1, 77};
    EXPECT_EQ(direct.entry(wrong, kit::kAdd, &sum), 0);
    EXPECT_TRUE(has_error(QM_ERROR_NOT_FOUND, contract::text_of("(handle=%08x)", wrong)));
    EXPECT_EQ(direct.entry(wrong, kit::kCount, &sum), 0) << "free functions, too";
    EXPECT_EQ(direct.entry(wrong, QM_CALL_CLOSEHANDLE, nullptr), 0);
    EXPECT_EQ(sum.sum, 77);
  }
  EXPECT_EQ(count(handle_).live, 1);
}

}  // namespace
}  // namespace toolkit_test
