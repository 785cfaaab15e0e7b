// Handles of opened modules.
#pragma once

#include <qmsd7.h>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include <qm/error_state.hpp>
#include <qm/owner.hpp>
#include <qm/version.hpp>

namespace qm {

class DirectModule;

namespace detail {

struct HandlePolicy {
  using Raw = std::uint32_t;
  static constexpr Raw none = 0;
  static constexpr std::string_view name = "ModuleHandle";
  // Closing runs the module's code; what that does to the error state is not this caller's failure.
  static void give_back(Kernel kernel, Raw handle) noexcept {
    const ErrorStateGuard guard(kernel);
    qm_handle_ref record{handle};
    kernel.call_raw(0, QM_CALL_CLOSEHANDLE, &record);
  }
};

}  // namespace detail

/// One reference to an opened instance of a module. The last one closes the instance.
/// Owner: of the reference. Errors: those of the functions below. Threads: one ModuleHandle is one
/// thread's at a time; calls through handles, shared ones too, may be made by any thread if the
/// module allows it.
///
///     const auto greeter = qm::ModuleHandle::open(kernel, "exgreeter");
///     check(greeter.info().id == QM_MODULE_ID);
class ModuleHandle : public Owner<detail::HandlePolicy> {
 public:
  using Owner::Owner;

  /// Opens an instance of the module, which the kernel loads if need be. `group` is the property
  /// group for aliases and the module's own use.
  /// Owner: the result. Errors: 0x1000 no such library; 2 or 22 a library that is no module; 16 it
  /// is being loaded for too long; 12; or the module's own. Threads: any.
  ///
  ///     const auto counter = qm::ModuleHandle::open(kernel, "excounter");
  ///     check(counter.get() >= 0x10000);
  ///     const auto missing = qm::ModuleHandle::try_open(kernel, "nosuchmodule");
  ///     check(missing.error().code() == QM_ERROR_LOAD);
  static ModuleHandle open(Kernel kernel, const Text& name,
                           const std::optional<Text>& group = std::nullopt) {
    return try_open(kernel, name, group).value();
  }
  static Result<ModuleHandle> try_open(Kernel kernel, const Text& name,
                                       const std::optional<Text>& group = std::nullopt) {
    qm_open_module_w record{name.c_str(), group ? group->c_str() : nullptr, 0};
    return try_open(kernel, record);
  }

  /// The same with a record of the caller's own, which the module receives: further fields may
  /// stand behind these.
  /// Owner: the result; the record stays the caller's. Errors: as for open() by name. Threads: any.
  ///
  ///     struct { qm_open_module_w head; int further; } record{{QM_W("exgreeter"), nullptr, 0}, 7};
  ///     check(qm::ModuleHandle::open(kernel, record.head).get() == record.head.handle);
  static ModuleHandle open(Kernel kernel, qm_open_module_w& record) {
    return try_open(kernel, record).value();
  }
  static Result<ModuleHandle> try_open(Kernel kernel, qm_open_module_w& record) {
    return kernel.try_call(QM_CALL_OPENMODULEW, &record).transform([&](std::int32_t) {
      return ModuleHandle(kernel, record.handle);
    });
  }

  /// Calls the module. `record` stays the caller's. Returns what the module returned, which is not
  /// 0.
  /// Owner: `record` stays the caller's; what the module hands out in it is the caller's, too.
  /// Errors: 22 for an empty owner; otherwise the thread's error state right after a call that
  /// returned 0. Threads: any, as far as the module allows.
  ///
  ///     const auto counter = qm::ModuleHandle::open(kernel, "excounter");
  ///     const auto unknown = counter.try_call(0x12FF0000);
  ///     check(!unknown && unknown.error().code() == QM_ERROR_ARGUMENT);
  std::int32_t call(std::uint32_t function, void* record = nullptr) const {
    return try_call(function, record).value();
  }
  Result<std::int32_t> try_call(std::uint32_t function, void* record = nullptr) const {
    if (!*this) return refusal();
    return kernel().try_call_at(get(), function, record);
  }

  /// One more reference to the same instance.
  /// Owner: the result. Errors: 22 for an empty owner, 2 if the handle was closed behind its back.
  /// Threads: any.
  ///
  ///     auto first = qm::ModuleHandle::open(kernel, "excounter");
  ///     const auto second = first.share();
  ///     first.reset();
  ///     check(second.info().id == QM_MODULE_ID);
  ModuleHandle share() const { return try_share().value(); }
  Result<ModuleHandle> try_share() const {
    qm_handle_ref record{get()};
    return try_call_kernel(QM_CALL_REFHANDLE, &record).transform([this](std::int32_t) {
      return ModuleHandle(kernel(), get());
    });
  }

  /// Gives the reference back now and tells whether that worked; reset() and the destructor do not,
  /// and leave the thread's error state as it is.
  /// Owner: empty afterwards. Errors: 22 for an empty owner, 2 an unknown handle. Threads: any.
  ///
  ///     auto counter = qm::ModuleHandle::open(kernel, "excounter");
  ///     counter.close();
  ///     check(!counter && counter.try_close().error().code() == QM_ERROR_ARGUMENT);
  void close() { try_close().value(); }
  Result<void> try_close() {
    if (!*this) return refusal();
    qm_handle_ref record{release()};
    return kernel().try_call(QM_CALL_CLOSEHANDLE, &record).transform([](std::int32_t) {});
  }

  /// What the module tells about itself. Owner: the module; valid while it is loaded.
  /// Errors: 22 for an empty owner, 2 if it tells nothing. Threads: any.
  ///
  ///     const auto greeter = qm::ModuleHandle::open(kernel, "exgreeter");
  ///     check(qm::Version{greeter.info().version}.text() == "1.0.0.0");
  const qm_module_info& info() const { return *try_info().value(); }
  Result<const qm_module_info*> try_info() const {
    qm_info_request request{};
    return try_call(QM_CALL_GETKERNELINFO, &request)
        .and_then([&](std::int32_t) -> Result<const qm_module_info*> {
          if (request.info) return request.info;
          return Error(QM_ERROR_NOT_FOUND, "the module tells nothing about itself");
        });
  }

  /// The version texts of the module's file, in the resource's order.
  /// Owner: the result is a copy. Errors: as qm::version_texts(). Threads: any.
  ///
  ///     const auto greeter = qm::ModuleHandle::open(kernel, "exgreeter");
  ///     check(greeter.version_texts().size() > 3);
  std::vector<VersionText> version_texts() const { return try_version_texts().value(); }
  Result<std::vector<VersionText>> try_version_texts() const {
    qm_module_version record{};
    return try_call(QM_CALL_MODULEVERSIONINFO, &record).transform([&](std::int32_t) {
      return detail::copy_version_texts(*record.props);
    });
  }

  /// A way to call the module with no kernel in between, for those who do it very often.
  /// Owner: the result, of one more reference. Errors: 22 for an empty owner or a module that is
  /// not open, 2 unknown handle. Threads: any.
  ///
  ///     const auto counter = qm::ModuleHandle::open(kernel, "excounter");
  ///     const qm::DirectModule direct = counter.resolve();
  ///     qm_info_request request{};
  ///     check(direct.call(QM_CALL_GETKERNELINFO, &request) == 1);
  DirectModule resolve() const;
  Result<DirectModule> try_resolve() const;
};

/// An opened module with its own entry and its own handle for the instance.
/// Owner: of one reference. Errors: those of the functions below. Threads: as ModuleHandle.
///
///     const auto direct = qm::ModuleHandle::open(kernel, "excounter").resolve();
///     check(!direct.try_call(0x12FF0000));
class DirectModule {
 public:
  /// Calls the module's entry. Returns what it returned, which is not 0.
  /// Owner: as for ModuleHandle::call(). Errors: 22 after a move; otherwise the thread's error
  /// state right after a call that returned 0. Threads: any, as far as the module allows.
  ///
  ///     const auto direct = qm::ModuleHandle::open(kernel, "excounter").resolve();
  ///     qm_info_request request{};
  ///     check(direct.call(QM_CALL_GETKERNELINFO, &request) == 1 && request.info != nullptr);
  std::int32_t call(std::uint32_t function, void* record = nullptr) const {
    return try_call(function, record).value();
  }
  Result<std::int32_t> try_call(std::uint32_t function, void* record = nullptr) const {
    if (!reference_) return Error(QM_ERROR_ARGUMENT, "this DirectModule is empty");
    if (const std::int32_t result = entry_(owner_handle_, function, record)) return result;
    return reference_.kernel().error();
  }

  /// The reference that keeps the instance open.
  /// Owner: this DirectModule. Errors: none; after a move it is empty. Threads: as ModuleHandle.
  ///
  ///     const auto direct = qm::ModuleHandle::open(kernel, "excounter").resolve();
  ///     check(direct.handle().get() >= 0x10000);
  const ModuleHandle& handle() const noexcept { return reference_; }

 private:
  friend class ModuleHandle;

  DirectModule(ModuleHandle reference, qm_call_fn entry, std::uint32_t owner_handle) noexcept
      : reference_(std::move(reference)), entry_(entry), owner_handle_(owner_handle) {}

  ModuleHandle reference_;
  qm_call_fn entry_;
  std::uint32_t owner_handle_;
};

inline Result<DirectModule> ModuleHandle::try_resolve() const {
  qm_resolve_handle record{get(), 0, nullptr, nullptr};
  return try_call_kernel(QM_CALL_RESOLVEHANDLE, &record).transform([&](std::int32_t) {
    return DirectModule(ModuleHandle(kernel(), record.handle), record.entry, record.owner_handle);
  });
}
inline DirectModule ModuleHandle::resolve() const { return try_resolve().value(); }

}  // namespace qm
