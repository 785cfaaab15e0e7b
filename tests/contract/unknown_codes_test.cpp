// Codes that nobody serves: refused with error 22, whatever the record.
#include "tests/contract/support/function_codes.h"
#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

class UnknownCodes : public KernelTest {
 protected:
  void expect_unknown(std::uint32_t code) {
    SCOPED_TRACE(printable(text_of("code %08x", code)));
    auto record = poisoned<std::array<std::uint32_t, 8>>();
    ASSERT_TRUE(
        kernel().refuses(code, record, failure(22, "(function=%08x?,handle=00000000)", code)));
  }
};

TEST_F(UnknownCodes, AreRefusedThroughoutTheKernelsGroups) {
  for (std::uint32_t code = 0x0FFFFFF0; code <= 0x10050010; ++code) {
    // Inside a group nothing distinguishes one gap from the next: its edges and every 97th will do.
    const std::uint32_t function = code & 0xFFFF;
    const bool near_an_edge = function < 0x100 || function > 0xEF00;
    if (is_served(code) || (!near_an_edge && function % 97 != 0)) continue;
    ASSERT_NO_FATAL_FAILURE(expect_unknown(code));
  }
}

TEST_F(UnknownCodes, AreRefusedOutsideTheKernelsGroups) {
  for (const std::uint32_t code :
       {0x00000000u, 0x00000001u, 0x0000000Fu, 0x0100000Fu, 0x0FFF0011u, 0x11000000u, 0x11000008u,
        0x1100000Fu, 0x7FFFFFFFu, 0x80000000u, 0x9000000Fu, 0xFFFFFFFFu}) {
    expect_unknown(code);
  }
}

TEST_F(UnknownCodes, AreRefusedWithoutARecordToo) {
  EXPECT_TRUE(
      kernel().fails(0x10030003, nullptr, failure(22, "(function=10030003?,handle=00000000)")));
}

TEST_F(UnknownCodes, IncludeWhatOnlyModulesAreAsked) {
  for (const std::uint32_t code :
       {std::uint32_t{QM_CALL_MODULEVERSIONINFO}, std::uint32_t{QM_CALL_SETKERNELENTRY}}) {
    expect_unknown(code);
  }
}

TEST_F(UnknownCodes, IncludeTheGapsBetweenServices) {
  for (const std::uint32_t code : {0x10030003u, 0x10030008u, 0x1003000Cu, 0x1003000Du, 0x10030011u,
                                   0x10040002u, 0x10040015u, 0x1004001Cu, 0x1004002Bu}) {
    expect_unknown(code);
  }
}

}  // namespace
}  // namespace contract
