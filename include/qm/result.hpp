// What functions return that do not throw: a value, or the error that kept it from being made.
#pragma once

#include <concepts>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include <qm/error.hpp>

namespace qm {

/// A value or an Error. Every function `f` that throws an Error has a twin `try_f` that returns a
/// Result instead. Where C++ itself has no memory for a text or a vector, both throw
/// std::bad_alloc.
/// Owner: of the value. Errors: reading a value that is not there throws the Error. Threads: as T.
///
///     qm::Result<int> good = 5;
///     check(good && *good == 5);
///     qm::Result<int> bad = qm::Error(QM_ERROR_NOT_FOUND, "nothing there");
///     check(!bad && bad.error().code() == 2 && bad.value_or(7) == 7);
template <class T>
class [[nodiscard]] Result {
 public:
  using value_type = T;

  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}

  /// Is there a value?
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(qm::Result<int>(5).has_value());
  bool has_value() const noexcept { return state_.index() == 0; }
  explicit operator bool() const noexcept { return has_value(); }

  /// The value; from a Result that is given up it can be moved out.
  /// Owner: this Result, unless the value is moved out. Errors: throws the Error there is instead.
  /// Threads: as T.
  ///
  ///     qm::Result<std::string> text = std::string("yes");
  ///     check(text->size() == 3);
  ///     const std::string taken = std::move(text).value();
  ///     check(taken == "yes");
  T& value() & { return checked(*this); }
  const T& value() const& { return checked(*this); }
  T&& value() && { return std::move(checked(*this)); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T&& operator*() && { return std::move(*this).value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }

  /// The value, or `other` if there is none.
  /// Owner: the result. Errors: what copying or moving a T throws. Threads: as T.
  ///
  ///     check(qm::Result<int>(qm::Error(2, "none")).value_or(9) == 9);
  T value_or(T other) const& { return has_value() ? value() : std::move(other); }
  T value_or(T other) && { return has_value() ? std::move(value()) : std::move(other); }

  /// The error.
  /// Owner: this Result, unless the error is moved out. Errors: std::bad_variant_access if there is
  /// none. Threads: as Error.
  ///
  ///     check(qm::Result<int>(qm::Error(2, "none")).error().text() == "none");
  const Error& error() const& { return std::get<1>(state_); }
  Error error() && { return std::get<1>(std::move(state_)); }

  /// What `step` makes of the value: a Result itself with and_then, a plain value with transform.
  /// An error is passed on.
  /// Owner: the result; the value is moved into `step`. Errors: what `step` throws. Threads: as T.
  ///
  ///     const auto half = [](int n) { return n / 2; };
  ///     check(*qm::Result<int>(8).transform(half) == 4);
  template <class Step>
  auto and_then(Step&& step) && -> std::remove_cvref_t<std::invoke_result_t<Step, T&&>> {
    if (!has_value()) return std::move(*this).error();
    return std::invoke(std::forward<Step>(step), std::move(*this).value());
  }
  template <class Step>
  auto transform(Step&& step) && -> Result<std::remove_cvref_t<std::invoke_result_t<Step, T&&>>> {
    if (!has_value()) return std::move(*this).error();
    if constexpr (std::is_void_v<std::invoke_result_t<Step, T&&>>) {
      std::invoke(std::forward<Step>(step), std::move(*this).value());
      return {};
    } else {
      return std::invoke(std::forward<Step>(step), std::move(*this).value());
    }
  }

 private:
  template <class Self>
  static auto& checked(Self& self) {
    if (!self.has_value()) throw std::get<1>(self.state_);
    return *std::get_if<0>(&self.state_);
  }

  std::variant<T, Error> state_;
};

/// Success, or the error that prevented it.
/// Owner: of the error. Errors: value() throws it. Threads: a plain value.
///
///     qm::Result<void> done;
///     check(done.has_value());
///     done = qm::Error(QM_ERROR_BUSY, "later");
///     check(!done && done.error().code() == QM_ERROR_BUSY);
template <>
class [[nodiscard]] Result<void> {
 public:
  using value_type = void;

  Result() = default;
  Result(Error error) : error_(std::move(error)) {}

  /// Did it succeed?
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(qm::Result<void>().has_value());
  bool has_value() const noexcept { return !error_; }
  explicit operator bool() const noexcept { return has_value(); }

  /// Owner: of nothing. Errors: throws the Error if there is one. Threads: any.
  ///
  ///     qm::Result<void>().value();
  void value() const {
    if (error_) throw *error_;
  }

  /// The error.
  /// Owner: this Result, unless the error is moved out. Errors: std::bad_optional_access if there
  /// is none. Threads: as Error.
  ///
  ///     check(qm::Result<void>(qm::Error(2, "none")).error().code() == 2);
  const Error& error() const& { return error_.value(); }
  Error error() && { return std::move(error_).value(); }

  /// The next step, unless there is an error, which is passed on.
  /// Owner: the result. Errors: what `step` throws. Threads: any.
  ///
  ///     check(*qm::Result<void>().and_then([] { return qm::Result<int>(3); }) == 3);
  template <class Step>
  auto and_then(Step&& step) && -> std::remove_cvref_t<std::invoke_result_t<Step>> {
    if (!has_value()) return std::move(*this).error();
    return std::invoke(std::forward<Step>(step));
  }

 private:
  std::optional<Error> error_;
};

}  // namespace qm
