// What a module throws to refuse a call.
#pragma once

#include <qmsd7.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qm {

/// A failure in a module's own words. Thrown by a handler, it makes the call fail: the caller's
/// error state gets the code, and as its message the code's own text, the module's name in brackets
/// and the detail, e.g. "Invalid argument [qmclock] (!zone)". An Error that a handler lets through
/// keeps its code and its text instead.
/// Owner: of its text, which copies share. Errors: std::bad_alloc, by its constructor. Threads: as
/// std::runtime_error.
///
///     try {
///       throw qm::Failure(QM_ERROR_ARGUMENT, "(!zone)");
///     } catch (const qm::Failure& failure) {
///       check(failure.code() == 22 && failure.what() == std::string("(!zone)"));
///     }
class Failure : public std::runtime_error {
 public:
  /// `detail` is UTF-8 and follows the custom of the kernel: the condition that did not hold, in
  /// parentheses.
  /// Owner: of a copy of `detail`. Errors: std::bad_alloc. Threads: any.
  ///
  ///     check(qm::Failure(QM_ERROR_RANGE, "(speed)").code() == QM_ERROR_RANGE);
  Failure(std::int32_t code, const std::string& detail) : std::runtime_error(detail), code_(code) {}

  /// The error code: one of QM_ERROR_..., an errno value or the module's own.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(qm::Failure(0x8101, "limit").code() == 0x8101);
  std::int32_t code() const noexcept { return code_; }

 private:
  std::int32_t code_;
};

}  // namespace qm
