// A module in one source file: its functions are a table of typed handlers, its instances objects.
//
//     #include <qm/module.hpp>
//
//     namespace {
//
//     class Counter {
//      public:
//       void add(example_add& record) { record.sum = sum_ += record.step; }
//
//      private:
//       std::atomic<std::int32_t> sum_ = 0;
//     };
//
//     constexpr auto kModule = qm::define_module<Counter>(
//         {.name = "example", .version = "1.0.0.0", .description = "Adds up"},
//         {{EXAMPLE_ADD, qm::handler<&Counter::add>}});
//
//     }  // namespace
//
//     QM_EXPORT_MODULE(kModule);
#pragma once

#include <qmsd7.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

#include <qm/buffer.hpp>
#include <qm/detail/module_entry.hpp>
#include <qm/detail/module_errors.hpp>
#include <qm/error.hpp>
#include <qm/failure.hpp>
#include <qm/kernel.hpp>
#include <qm/module_definition.hpp>
#include <qm/result.hpp>
#include <qm/text.hpp>

namespace qm {

/// The kernel that loaded this module; none before it has made itself known.
/// Owner: of nothing. Errors: none. Threads: any.
///
///     check(qm::module_kernel() == kernel || !qm::module_kernel());
inline Kernel module_kernel() noexcept { return detail::module_kernel(); }

/// A copy of a text in a tracked block, for an out field of a record: the caller gives it back.
/// Owner: whoever gets the pointer. Errors: qm::Error 12, 34 more than 2 GB, 22 without a kernel.
/// Threads: any.
///
///     qm_wchar* const text = qm::tracked_copy(kernel, QM_W("Hello"));
///     check(text == qm::WideString(QM_W("Hello")));
///     check(qm::Buffer::adopt(kernel, text).size() == 12);
///     check(qm::try_tracked_copy(qm::Kernel(), QM_W("Hello")).error().code() == 22);
inline Result<qm_wchar*> try_tracked_copy(Kernel kernel, WideView text) {
  Result<Buffer> block = Buffer::try_allocate(kernel, (text.size() + 1) * sizeof(qm_wchar));
  if (!block) return std::move(block).error();
  qm_wchar* const copy = block->bytes<qm_wchar>().data();
  *std::copy(text.begin(), text.end(), copy) = 0;
  static_cast<void>(block->release());  // the caller's from here on
  return copy;
}
inline qm_wchar* tracked_copy(Kernel kernel, WideView text) {
  return try_tracked_copy(kernel, text).value();
}

/// The call entry of a module: what the kernel calls, and tests that do without loading anything.
/// `definition` is a static constexpr variable.
/// Owner: the definition, of the instances that are open. Errors: it throws nothing; a failed call
/// leaves the error of the calling thread. Threads: any.
///
///     struct Sum { std::int32_t step, sum; };
///     class Adder {
///      public:
///       void add(Sum& record) { record.sum = sum_ += record.step; }
///
///      private:
///       std::int32_t sum_ = 0;
///     };
///     static constexpr auto module = qm::define_module<Adder>(
///         {.name = "adder", .version = "1.0.0.0", .description = "Adds up"},
///         {{0x13000000, qm::handler<&Adder::add>}});
///     const qm_call_fn adder = qm::module_entry<module>;
///
///     qm_kernel_entry notice{kernel.entry()};
///     qm_open_module_w open{QM_W("adder"), nullptr, 0};
///     Sum record{5, 0};
///     check(adder(0, QM_CALL_SETKERNELENTRY, &notice) && adder(0, QM_CALL_OPENMODULEW, &open));
///     check(adder(open.handle, 0x13000000, &record) && record.sum == 5);
///     check(!adder(open.handle, 0x13000000, nullptr));
///     check(kernel.error().text().ends_with("[adder] (!ptr)"));
///     check(adder(open.handle, QM_CALL_CLOSEHANDLE, nullptr));
template <const auto& definition>
inline constexpr qm_call_fn module_entry = &detail::ModuleEntry<definition>::call;

}  // namespace qm

/// Exports a definition as the module that this library is. Once in a library, outside of any
/// namespace.
///
/// Owner: the library, of the instances that are open; the kernel closes them before it unloads the
/// library. At the end of a process the static objects of a module may be gone before its last
/// instances are: their destructors must not use them. Errors: what is wrong with a definition
/// stops the compiler. Threads: any.
#define QM_EXPORT_MODULE(definition)                                                          \
  extern "C" {                                                                                \
  QM_EXPORT extern const qm_module_info qmmoduleinfo;                                         \
  constinit const qm_module_info qmmoduleinfo = ::qm::detail::ModuleEntry<definition>::kInfo; \
  QM_EXPORT std::int32_t QM_STDCALL qm_call(std::uint32_t handle, std::uint32_t function,     \
                                            void* params) {                                   \
    return ::qm::detail::ModuleEntry<definition>::call(handle, function, params);             \
  }                                                                                           \
  }                                                                                           \
  static_assert(::qm::detail::ModuleEntry<definition>::kInfo.id == QM_MODULE_ID)
