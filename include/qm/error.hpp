// A failure: an error code and its message, as they were right after the call that failed.
#pragma once

#include <qmsd7.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <qm/text.hpp>

namespace qm {

/// What a failed call left in the calling thread's error state, or what this library itself found
/// wrong. It is captured where it happens: later calls do not change it.
/// Owner: of its texts; copies share them. Errors: none; without memory for the message the code
/// remains. Threads: as std::shared_ptr; an Error may travel to another thread.
///
///     try {
///       kernel.call(0x1000ABCD);
///     } catch (const qm::Error& error) {
///       check(error.code() == QM_ERROR_ARGUMENT);
///       check(error.text().ends_with("(function=1000abcd?,handle=00000000)"));
///     }
class Error : public std::exception {
 public:
  /// An error with a code of the kernel's kind (QM_ERROR_..., errno values, a module's own) and a
  /// message. Should there be no memory for the message, the code remains.
  /// Owner: of a copy of the message. Errors: none. Threads: any.
  ///
  ///     const qm::Error error(QM_ERROR_RANGE, "300 is no std::int8_t");
  ///     check(error.code() == 34 && error.text() == "300 is no std::int8_t");
  Error(std::int32_t code, WideView text) noexcept : code_(code), texts_(keep(text)) {}
  Error(std::int32_t code, std::string_view utf8) noexcept : code_(code), texts_(keep(utf8)) {}

  /// The error code.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(qm::Error(2, "gone").code() == QM_ERROR_NOT_FOUND);
  std::int32_t code() const noexcept { return code_; }

  /// The message, in UTF-8 and UTF-16; borrowed from this object.
  /// Owner: this Error. Errors: none; a message for which there was no memory is empty. Threads:
  /// any.
  ///
  ///     const qm::Error error(2, "gone");
  ///     check(error.text() == "gone" && error.wide_text() == QM_W("gone"));
  std::string_view text() const noexcept { return texts_ ? texts_->utf8 : std::string_view(); }
  WideView wide_text() const noexcept { return texts_ ? texts_->wide : WideView(); }
  const char* what() const noexcept override {
    return texts_ ? texts_->utf8.c_str() : "an error whose message there was no memory for";
  }

 private:
  struct Texts {
    WideString wide;
    std::string utf8;
  };

  // Shared, since an exception must be copied without failing.
  static std::shared_ptr<const Texts> keep(WideView text) noexcept try {
    return std::make_shared<const Texts>(Texts{WideString(text), to_utf8(text)});
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  static std::shared_ptr<const Texts> keep(std::string_view utf8) noexcept try {
    return std::make_shared<const Texts>(Texts{to_wide(utf8), std::string(utf8)});
  } catch (const std::bad_alloc&) {
    return nullptr;
  }

  std::int32_t code_;
  std::shared_ptr<const Texts> texts_;
};

}  // namespace qm
