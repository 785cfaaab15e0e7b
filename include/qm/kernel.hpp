// The way into the kernel: its call entry, with failures as errors.
#pragma once

#include <qmsd7.h>

#include <cstdint>

#include <qm/error.hpp>
#include <qm/result.hpp>
#include <qm/text.hpp>

namespace qm {

/// A reference to the kernel: its call entry, as light as a pointer and copied like one. A host has
/// it from Kernel::linked() or from a KernelLibrary, a module from the kernel's notice after
/// loading (QM_CALL_SETKERNELENTRY).
/// Owner: of nothing; whoever loaded the library keeps it loaded. Errors: those of the functions
/// below. Threads: any.
///
///     const qm::Kernel host = qm::Kernel::linked();
///     check(host && host.call(QM_CALL_NOP) == 1);
class Kernel {
 public:
  /// No kernel. Calls fail with error 22.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(!qm::Kernel() && qm::Kernel().try_call(QM_CALL_NOP).error().code() == 22);
  constexpr Kernel() = default;

  /// The kernel behind this entry.
  /// Owner: of nothing; the library has to stay loaded. Errors: none. Threads: any.
  ///
  ///     check(qm::Kernel(kernel.entry()) == kernel);
  explicit constexpr Kernel(qm_call_fn call_entry) noexcept : entry_(call_entry) {}

  /// The kernel library that the program is linked with. Not for modules: there the name means the
  /// module's own entry.
  /// Owner: the system, of the library. Errors: none. Threads: any.
  ///
  ///     check(qm::Kernel::linked().entry() == &qm_call);
  static Kernel linked() noexcept { return Kernel(&qm_call); }

  /// The entry, null without a kernel; and whether there is one.
  /// Owner: the library. Errors: none. Threads: any.
  ///
  ///     check(kernel && kernel.entry()(0, QM_CALL_NOP, nullptr) == 1);
  constexpr qm_call_fn entry() const noexcept { return entry_; }
  explicit constexpr operator bool() const noexcept { return entry_ != nullptr; }
  friend constexpr bool operator==(Kernel, Kernel) = default;

  /// Calls the kernel, or with a handle the module behind it. `record` stays the caller's.
  /// Returns what the call returned, which is not 0.
  /// Owner: `record` stays the caller's; what a call hands out in it is the caller's, too. Errors:
  /// the thread's error state right after a call that returned 0. Threads: any.
  ///
  ///     qm_mem_size unknown{};
  ///     check(kernel.call(QM_CALL_NOP) == 1);
  ///     check(!kernel.try_call(QM_CALL_MEMSIZE, &unknown));
  ///     check(kernel.try_call_at(0x7777, 0x12340000).error().code() == QM_ERROR_ARGUMENT);
  std::int32_t call(std::uint32_t function, void* record = nullptr) const {
    return try_call(function, record).value();
  }
  Result<std::int32_t> try_call(std::uint32_t function, void* record = nullptr) const {
    return try_call_at(0, function, record);
  }
  std::int32_t call_at(std::uint32_t handle, std::uint32_t function, void* record = nullptr) const {
    return try_call_at(handle, function, record).value();
  }
  Result<std::int32_t> try_call_at(std::uint32_t handle, std::uint32_t function,
                                   void* record = nullptr) const {
    if (const std::int32_t result = call_raw(handle, function, record)) return result;
    return error();
  }

  /// The same without a look at the result, for codes to which 0 is an answer like others.
  /// Owner: as for call(). Errors: 0 without a kernel. Threads: any.
  ///
  ///     check(kernel.call_raw(0, 0x1000ABCD) == 0);
  std::int32_t call_raw(std::uint32_t handle, std::uint32_t function,
                        void* record = nullptr) const {
    return entry_ ? entry_(handle, function, record) : 0;
  }

  /// The calling thread's error state as it is now; code 0 if there is no error.
  /// Owner: the result is a copy. Errors: none are thrown; without memory the message is missing.
  /// Threads: each has its own.
  ///
  ///     kernel.set_error(QM_ERROR_RANGE, "too far");
  ///     check(kernel.error().code() == QM_ERROR_RANGE);
  ///     check(kernel.error().text().ends_with("too far"));
  Error error() const {
    if (!entry_) return Error(QM_ERROR_ARGUMENT, "there is no kernel behind this object");
    qm_wchar text[kMessageLength];
    text[0] = 0;
    qm_get_error_w record{0, text, kMessageLength};
    const std::int32_t code = entry_(0, QM_CALL_GETERRORW, &record);
    return Error(code, WideView(text));
  }

  /// Replaces the calling thread's error: the code's own text and behind it `text`, taken
  /// literally; or exactly what an Error holds. Without memory the code alone is set.
  /// Owner: the kernel, of a copy of the text. Errors: none. Threads: each has its own.
  ///
  ///     kernel.set_error(qm::Error(7, "100 %s"));
  ///     check(kernel.error().code() == 7 && kernel.error().text() == "100 %s");
  void set_error(std::int32_t code, const Text& text) const {
    set_error_text(QM_SET_ERROR_LITERAL, code, text.c_str());
  }
  void set_error(const Error& as) const {
    set_error_text(QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT, as.code(),
                   as.wide_text().data());
  }

  /// What the kernel tells about itself. Owner: the kernel library.
  /// Errors: those of any call. Threads: any.
  ///
  ///     check(kernel.info().version >= QM_KERNEL_VERSION);
  const qm_module_info& info() const { return *try_info().value(); }
  Result<const qm_module_info*> try_info() const {
    qm_info_request request{};
    return try_call(QM_CALL_GETKERNELINFO, &request).transform([&](std::int32_t) {
      return request.info;
    });
  }

 private:
  static constexpr std::int32_t kMessageLength = 2048;  // no message is longer

  void set_error_text(std::uint32_t flags, std::int32_t code, const qm_wchar* text) const {
    qm_set_error_w record{flags, code, text, nullptr};
    call_raw(0, QM_CALL_SETERRORW, &record);
  }

  qm_call_fn entry_ = nullptr;
};

}  // namespace qm
