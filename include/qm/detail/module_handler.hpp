// From a typed handler to a call with nothing but pointers. A part of <qm/module.hpp>.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

#include <qm/failure.hpp>
#include <qm/result.hpp>

namespace qm::detail {

template <class Function>
struct Signature;

template <class R, class... P, bool is_noexcept>
struct Signature<R (*)(P...) noexcept(is_noexcept)> {
  using Result = R;
  using Parameters = std::tuple<P...>;
  using Class = void;
};
template <class R, class C, class... P, bool is_noexcept>
struct Signature<R (C::*)(P...) noexcept(is_noexcept)> : Signature<R (*)(P...)> {
  using Class = C;
};
template <class R, class C, class... P, bool is_noexcept>
struct Signature<R (C::*)(P...) const noexcept(is_noexcept)> : Signature<R (*)(P...)> {
  using Class = C;
};

// How a handler takes the pointer that arrives in place of its record.
template <class Parameter>
struct RecordArgument {
  static_assert(std::is_lvalue_reference_v<Parameter>,
                "a handler takes Record&, Record* (which may be null), std::uint32_t or nothing");
  static Parameter from(void* params) {
    if (params == nullptr) throw Failure(QM_ERROR_ARGUMENT, "(!ptr)");
    return *static_cast<std::remove_reference_t<Parameter>*>(params);
  }
};
template <class Record>
struct RecordArgument<Record*> {
  static Record* from(void* params) { return static_cast<Record*>(params); }
};
template <>
struct RecordArgument<std::uint32_t> {
  static std::uint32_t from(void* params) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(params));
  }
};

inline std::int32_t result_of(std::int32_t result) { return result; }
inline std::int32_t result_of(const Result<void>& result) {
  result.value();
  return 1;
}

template <class Step>
std::int32_t run(const Step& step) {
  using Returned = std::invoke_result_t<const Step&>;
  if constexpr (std::is_void_v<Returned>) {
    step();
    return 1;
  } else {
    static_assert(std::same_as<Returned, std::int32_t> || std::same_as<Returned, Result<void>>,
                  "a handler returns nothing, std::int32_t or qm::Result<void>");
    return result_of(step());
  }
}

// Calls `function` for the instance, unless it is a free function, with the record if it takes one.
template <class Instance, auto function>
std::int32_t invoke(void* instance, void* params) {
  using Its = Signature<decltype(function)>;
  using Parameters = typename Its::Parameters;
  static_assert(std::tuple_size_v<Parameters> <= 1, "a handler takes at most its record");
  const auto call = [&](auto&&... record) -> decltype(auto) {
    if constexpr (std::is_void_v<typename Its::Class>) {
      return function(record...);
    } else {
      return (static_cast<Instance*>(instance)->*function)(record...);
    }
  };
  if constexpr (std::tuple_size_v<Parameters> == 0) {
    return run(call);
  } else {
    using Argument = RecordArgument<std::tuple_element_t<0, Parameters>>;
    return run([&] { return call(Argument::from(params)); });
  }
}

}  // namespace qm::detail
