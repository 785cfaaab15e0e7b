// The call entry of a module that is described by a definition. A part of <qm/module.hpp>.
#pragma once

#include <qmsd7.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

#include <qm/detail/instance_table.hpp>
#include <qm/detail/module_errors.hpp>
#include <qm/detail/module_handler.hpp>
#include <qm/error.hpp>
#include <qm/failure.hpp>
#include <qm/module_definition.hpp>
#include <qm/text.hpp>

// Callers on 32-bit Windows may keep the stack at 4 bytes, which the compiler does not expect.
#if defined(__i386__) && defined(__GNUC__)
#define QM_REALIGN [[gnu::force_align_arg_pointer]]
#else
#define QM_REALIGN
#endif

namespace qm::detail {

// Wide text in memory that the compiler sets aside; of length 0 it only counts.
template <std::size_t capacity>
struct WideLiteral {
  constexpr explicit WideLiteral(std::string_view utf8) {
    while (!utf8.empty()) {
      const auto [code, units] = first_of_utf8(utf8);
      append_wide(*this, code);
      utf8.remove_prefix(units);
    }
  }
  constexpr void push_back(qm_wchar unit) {
    if (length < capacity) text[length] = unit;
    ++length;
  }

  qm_wchar text[capacity + 1] = {};
  std::size_t length = 0;
};

inline Failure unknown_handle(std::uint32_t handle) {
  char text[32];
  std::snprintf(text, sizeof text, "(handle=%08x)", static_cast<unsigned>(handle));
  return Failure(QM_ERROR_NOT_FOUND, text);
}

inline Failure unknown_function(std::uint32_t function, std::uint32_t handle) {
  char text[64];
  std::snprintf(text, sizeof text, "(function=%08x?,handle=%08x)", static_cast<unsigned>(function),
                static_cast<unsigned>(handle));
  return Failure(QM_ERROR_ARGUMENT, text);
}

template <const auto& definition>
class ModuleEntry {
  using Instance = typename std::remove_cvref_t<decltype(definition)>::Instance;

  static constexpr std::size_t kWideLength = WideLiteral<0>(definition.about.description).length;
  static constexpr WideLiteral<kWideLength> kWideDescription{definition.about.description};

 public:
  QM_REALIGN static std::int32_t QM_STDCALL call(std::uint32_t handle, std::uint32_t function,
                                                 void* params) noexcept {
    constexpr const char* name = definition.about.name;
    try {
      return serve(handle, function, params);
    } catch (const Error& error) {
      return fail_with(error);
    } catch (const std::bad_alloc&) {
      return fail_without_memory();
    } catch (const std::exception& exception) {
      return fail_with(code_of(exception), name, exception.what());
    } catch (...) {
      return fail_with(QM_ERROR_DAMAGED, name, "something that is no std::exception was thrown");
    }
  }

  static constexpr qm_module_info kInfo{QM_MODULE_ID, definition.version,
                                        definition.about.description, kWideDescription.text, &call};

 private:
  static std::int32_t serve(std::uint32_t handle, std::uint32_t function, void* params) {
    switch (function) {
      case QM_CALL_SETKERNELENTRY:
        return take_kernel(handle, RecordArgument<const qm_kernel_entry&>::from(params));
      case QM_CALL_GETKERNELINFO:
        return tell_info(RecordArgument<qm_info_request*>::from(params));
      case QM_CALL_OPENMODULEW:
        return open(RecordArgument<qm_open_module_w&>::from(params));
      case QM_CALL_CLOSEHANDLE:
        return close(handle);
      default:
        return run_function(handle, function, params);
    }
  }

  static std::int32_t take_kernel(std::uint32_t handle, const qm_kernel_entry& record) {
    if (handle != 0) throw unknown_function(QM_CALL_SETKERNELENTRY, handle);
    if (record.entry == nullptr) throw Failure(QM_ERROR_ARGUMENT, "(!entry)");
    module_kernel_entry.store(record.entry, std::memory_order_release);
    if (definition.about.loaded != nullptr) definition.about.loaded();
    return 1;
  }

  static std::int32_t tell_info(qm_info_request* record) {
    if (record != nullptr) record->info = &kInfo;
    return 1;
  }

  static std::int32_t open(qm_open_module_w& record) {
    record.handle = instances().add(make_instance(Opening(record)));
    return 1;
  }

  static std::shared_ptr<Instance> make_instance(const Opening& opening) {
    if constexpr (std::is_constructible_v<Instance, const Opening&>) {
      return std::make_shared<Instance>(opening);
    } else {
      return std::make_shared<Instance>();
    }
  }

  static std::int32_t close(std::uint32_t handle) {
    if (instances().remove(handle) == nullptr) throw unknown_handle(handle);
    return 1;
  }

  static const Function<Instance>* find_function(std::uint32_t code) {
    if constexpr (definition.functions.empty()) {
      return nullptr;
    } else {
      const auto& rows = definition.functions;
      const auto row = std::ranges::lower_bound(rows, code, {}, &Function<Instance>::code);
      return row != rows.end() && row->code() == code ? &*row : nullptr;
    }
  }

  static std::int32_t run_function(std::uint32_t handle, std::uint32_t code, void* params) {
    const Function<Instance>* const row = find_function(code);
    if (row == nullptr) throw unknown_function(code, handle);
    // Held until the handler is done, should somebody close the instance meanwhile.
    const std::shared_ptr<Instance> instance = handle == 0 ? nullptr : instances().find(handle);
    if (instance == nullptr && (handle != 0 || row->needs_instance())) {
      throw unknown_handle(handle);
    }
    return (*row)(instance.get(), params);
  }

  static InstanceTable<Instance>& instances() { return instances_.value; }

  static inline constinit Immortal<InstanceTable<Instance>> instances_;
};

}  // namespace qm::detail
