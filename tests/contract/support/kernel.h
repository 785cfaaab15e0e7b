// One load of the kernel library: its only export, the calling thread's error, and the failures
// that a call is expected to leave behind.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "include/qmsd7.h"
#include "tests/contract/support/shared_library.h"
#include "tests/contract/support/text.h"
#include "tests/support/poison.h"

namespace contract {

using qmsd::test::is_poison;
using qmsd::test::kPoison;
using qmsd::test::poisoned;

// What an error state holds. Without a detail: just the code's own text and the kernel's tag.
struct Failure {
  std::int32_t code;
  std::optional<Text> detail;

  Text message() const;
};

inline Failure failure(std::int32_t code) { return {code, std::nullopt}; }
template <class... Arguments>
Failure failure(std::int32_t code, const char* format, Arguments... arguments) {
  if constexpr (sizeof...(arguments) == 0) {
    return {code, Text(format, format + std::strlen(format))};
  } else {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    return {code, text_of(format, arguments...)};
#pragma GCC diagnostic pop
  }
}

struct Error {
  std::int32_t code;
  Text message;

  bool operator==(const Error&) const = default;
};
void PrintTo(const Error& error, std::ostream* out);

class Kernel {
 public:
  Kernel();

  std::int32_t operator()(std::uint32_t function, void* record = nullptr) const {
    return entry_(0, function, record);
  }
  std::int32_t through(std::uint32_t handle, std::uint32_t function, void* record = nullptr) const {
    return entry_(handle, function, record);
  }
  qm_call_fn entry() const { return entry_; }
  const SharedLibrary& library() const { return library_; }
  void unload() { library_.unload(); }

  // The calling thread's error as it is now. The buffer around it is checked, too.
  Error error() const;
  std::string narrow_message() const;
  // Replaces the calling thread's error by a code and a text that no failure leaves.
  Error plant_error() const;

  // The call returns 0 and leaves exactly this error, and the record as it was.
  template <class Record>
  testing::AssertionResult refuses(std::uint32_t function, Record& record,
                                   const Failure& expected) const {
    return refuses_through(0, function, record, expected);
  }
  template <class Record>
  testing::AssertionResult refuses_through(std::uint32_t handle, std::uint32_t function,
                                           Record& record, const Failure& expected) const {
    std::array<unsigned char, sizeof(Record)> before;
    std::memcpy(before.data(), &record, sizeof record);
    const auto failed = fails(handle, function, &record, expected);
    if (failed && std::memcmp(before.data(), &record, sizeof record) != 0) {
      return testing::AssertionFailure() << "the record was written to";
    }
    return failed;
  }
  // The same without a word about the record, which may be null.
  testing::AssertionResult fails(std::uint32_t handle, std::uint32_t function, void* record,
                                 const Failure& expected) const;
  testing::AssertionResult fails(std::uint32_t function, void* record,
                                 const Failure& expected) const {
    return fails(0, function, record, expected);
  }
  testing::AssertionResult has_error(const Failure& expected) const;

  // How many handles are live, as the refusal of an unknown handle tells.
  int live_handles() const;
  // How many tracked blocks are live.
  int live_blocks() const;

 private:
  SharedLibrary library_;
  qm_call_fn entry_;
};

}  // namespace contract
