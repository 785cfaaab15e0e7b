#include "tests/contract/support/kernel.h"

#include <algorithm>
#include <ostream>
#include <vector>

namespace contract {
namespace {

constexpr std::int32_t kMessageLength = 2048;
// Never issued: instances have values from 0x10000 on.
constexpr std::uint32_t kNeverIssued = 0x00000ABC;

}  // namespace

Text Failure::message() const {
  Text message = runtime_text(code);
  if (!message.empty()) message += QM_W(' ');
  message += QM_W(" [qmsd]");
  if (detail) message += QM_W(' ') + *detail;
  return message;
}

void PrintTo(const Error& error, std::ostream* out) {
  *out << error.code << " \"" << printable(error.message) << '"';
}

Kernel::Kernel()
    : library_(kernel_file()), entry_(reinterpret_cast<qm_call_fn>(library_.find("qm_call"))) {}

Error Kernel::error() const {
  constexpr qm_wchar kUnwritten = 0xA5A5;
  std::vector<qm_wchar> text(kMessageLength + 1, kUnwritten);
  qm_get_error_w record{-1, text.data(), kMessageLength};
  const std::int32_t result = (*this)(QM_CALL_GETERRORW, &record);
  EXPECT_EQ(result, record.code) << "the result of reading the error is its code";
  EXPECT_EQ(text[kMessageLength - 1], 0) << "the buffer's last element is always terminated";
  EXPECT_EQ(text[kMessageLength], kUnwritten) << "written behind the buffer";
  EXPECT_EQ(record.length, kMessageLength);
  EXPECT_EQ(record.text, text.data());
  return {record.code, Text(text.data())};
}

std::string Kernel::narrow_message() const {
  std::vector<char> text(4 * kMessageLength, '#');
  qm_get_error_a record{-1, text.data(), static_cast<std::int32_t>(text.size())};
  (*this)(QM_CALL_GETERRORA, &record);
  return text.data();
}

Error Kernel::plant_error() const {
  constexpr std::int32_t kCode = 31415;
  const Text message = QM_W("left by an earlier call");
  qm_set_error_w record{QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT, kCode, message.c_str(),
                        nullptr};
  EXPECT_EQ((*this)(QM_CALL_SETERRORW, &record), 1);
  return {kCode, message};
}

testing::AssertionResult Kernel::fails(std::uint32_t handle, std::uint32_t function, void* record,
                                       const Failure& expected) const {
  plant_error();
  const std::int32_t result = entry_(handle, function, record);
  if (result != 0) {
    return testing::AssertionFailure() << "the call succeeded with " << result;
  }
  return has_error(expected);
}

testing::AssertionResult Kernel::has_error(const Failure& expected) const {
  const Error found = error();
  const Error wanted{expected.code, expected.message()};
  if (found == wanted) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "error: " << testing::PrintToString(found)
                                     << "\n  expected: " << testing::PrintToString(wanted);
}

int Kernel::live_handles() const {
  entry_(kNeverIssued, QM_CALL_NOP, nullptr);
  const Text message = error().message;
  const Text before_count = QM_W("nhs: ");
  const auto at = message.rfind(before_count);
  if (at == Text::npos) return -1;
  int count = 0;
  for (auto digit = at + before_count.size(); message[digit] != QM_W(')'); ++digit) {
    count = 10 * count + (message[digit] - QM_W('0'));
  }
  return count;
}

int Kernel::live_blocks() const {
  int blocks = 0;
  qm_mem_info info{};
  while ((*this)(QM_CALL_MEMINFO, &info) == 1) {
    if (info.pointer != nullptr) ++blocks;
    ++info.index;
  }
  return blocks;
}

}  // namespace contract
