// What unit tests need around the calling thread's error state.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "include/qmsd7.h"
#include "kernel/errors/error_calls.h"
#include "kernel/errors/error_state.h"
#include "services/tables/error_texts.h"
#include "tests/support/wide_text.h"

namespace qmsd::test {

// The error state as long as a test needs it, and no trace of it afterwards.
class ErrorState {
 public:
  ErrorState() {
    error_texts_create();
    error_state_create();
  }
  ~ErrorState() {
    error_state_destroy();
    error_texts_destroy();
  }
  ErrorState(const ErrorState&) = delete;
  ErrorState& operator=(const ErrorState&) = delete;
};

struct ThreadError {
  std::int32_t code;
  WideString message;
};

inline ThreadError thread_error() {
  qm_wchar text[kMessageLength];
  qm_get_error_w record{0, text, kMessageLength};
  get_error_wide(&record);
  return {record.code, text};
}

// The message that an error of the kernel's own must have; a null detail stands for none.
inline WideString composed(std::int32_t code, const qm_wchar* detail) {
  qm_wchar text[kMessageLength];
  const TextFound found = error_texts_lookup(code, text, kMessageLength);
  WideString message = found == TextFound::no_table && code != 0 ? QM_W("Unknown Error") : text;
  if (!message.empty()) message += QM_W(" ");
  message += QM_W(" [qmsd]");
  if (detail != nullptr) message += QM_W(" ") + WideString(detail);
  return message;
}

// The thread's error is the code with that detail: "(!ptr)"; null: an error without a detail.
inline testing::AssertionResult has_error(std::int32_t code, const qm_wchar* detail) {
  const ThreadError error = thread_error();
  const WideString expected = composed(code, detail);
  if (error.code == code && error.message == expected) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "the error is " << error.code << " \"" << readable(error.message) << "\", not " << code
         << " \"" << readable(expected) << "\"";
}

inline testing::AssertionResult has_no_error() {
  const ThreadError error = thread_error();
  if (error.code == 0 && error.message.empty()) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "the error is " << error.code << " \"" << readable(error.message) << "\"";
}

}  // namespace qmsd::test

#define EXPECT_ERROR(code, detail) EXPECT_TRUE(::qmsd::test::has_error(code, detail))
#define EXPECT_STANDARD_ERROR(code) EXPECT_TRUE(::qmsd::test::has_error(code, nullptr))
#define EXPECT_NO_ERROR() EXPECT_TRUE(::qmsd::test::has_no_error())
