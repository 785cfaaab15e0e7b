// What a module consists of: what it says about itself, and a table of typed handlers.
#pragma once

#include <qmsd7.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include <qm/detail/module_handler.hpp>
#include <qm/text.hpp>

namespace qm {

/// What a module says about itself. In sources that qm_add_module() builds, the macros
/// QM_MODULE_NAME, QM_MODULE_VERSION and QM_MODULE_DESCRIPTION have it from there.
struct About {
  const char* name;            // leads the messages of its errors
  const char* version;         // "major.minor.patch.build", each from 0 to 255
  const char* description;     // UTF-8
  void (*loaded)() = nullptr;  // called as soon as the kernel has made itself known
};

/// What a caller opens an instance with: lent to the constructor, if it wants to know.
/// Owner: of nothing; it lives as long as the constructor runs. Errors: none. Threads: the opening
/// one.
///
///     qm_open_module_w record{QM_W("clock"), nullptr, 0};
///     check(qm::Opening(record).name() == QM_W("clock") && qm::Opening(record).group().empty());
class Opening {
 public:
  explicit Opening(qm_open_module_w& record) noexcept : record_(record) {}

  /// The module's name, which may be what an alias stands for, and the property group, empty
  /// without one.
  /// Owner: the caller of the open. Errors: none; what is null reads as empty. Threads: the opening
  /// one.
  ///
  ///     qm_open_module_w record{QM_W("clock"), QM_W("fast"), 0};
  ///     const qm::Opening opening(record);
  ///     check(opening.name() == QM_W("clock") && opening.group() == QM_W("fast"));
  WideView name() const noexcept { return view(record_.name); }
  WideView group() const noexcept { return view(record_.group); }

  /// The record itself, for modules that define further fields behind the kernel's three. A caller
  /// that opens by a narrow name gives no further fields.
  /// Owner: the caller of the open. Errors: none. Threads: the opening one.
  ///
  ///     struct { qm_open_module_w head; int zone; } record{{QM_W("clock"), nullptr, 0}, 2};
  ///     qm_open_module_w& head = qm::Opening(record.head).record();
  ///     check(reinterpret_cast<decltype(record)&>(head).zone == 2);
  qm_open_module_w& record() const noexcept { return record_; }

 private:
  static WideView view(const qm_wchar* text) { return text == nullptr ? WideView() : text; }

  qm_open_module_w& record_;
};

/// The class of instances that have nothing to remember.
struct Stateless {};

namespace detail {

template <auto function>
struct HandlerOf {};

}  // namespace detail

/// What serves a function code: a member function of the instance, or a free function, which also
/// serves calls that have no instance (through a group handle).
///
/// It takes `Record&`; a call without a record is refused before it runs. Or `Record*`, which may
/// be null; or nothing, whatever the caller passes; or std::uint32_t, for the codes of an object
/// reference, which are called with the object's value in place of a record.
///
/// It returns nothing, and has succeeded when it comes back; or qm::Result<void>; or the
/// std::int32_t that the call is to return. What it throws makes the call fail, with the code:
/// - qm::Error: its own, and its text as it is
/// - qm::Failure: its own; the message is the code's text, the module's name and the detail
/// - std::bad_alloc: 12
/// - std::invalid_argument: 22, std::out_of_range: 34, std::system_error: its errno value, other
///   standard exceptions: 14; the message as with a Failure
/// - anything else: 14
///
/// Owner: the record stays the caller's. Errors: see above. Threads: handlers run on the threads of
/// their callers, several at once, for one instance, too. What they share they have to guard. The
/// kernel holds no lock meanwhile, so they may call it.
///
///     struct Answer { std::int32_t value; };
///     struct Oracle {
///       void ask(Answer& record) { record.value = 42; }
///     };
///     constexpr qm::Function<Oracle> row(0x13000000, qm::handler<&Oracle::ask>);
///     Oracle oracle;
///     Answer answer{};
///     check(row(&oracle, &answer) == 1 && answer.value == 42);
template <auto function>
inline constexpr detail::HandlerOf<function> handler{};

/// A row of a module's table: function code and handler.
/// Owner: of nothing. Errors: a call throws what the handler throws. Threads: a plain value;
/// handlers run on the threads of their callers.
///
///     struct Motor {
///       void stop() {}
///     };
///     constexpr qm::Function<Motor> row(0x13000001, qm::handler<&Motor::stop>);
///     Motor motor;
///     check(row.code() == 0x13000001 && row.needs_instance() && row(&motor, nullptr) == 1);
template <class Instance>
class Function {
 public:
  template <auto function>
  consteval Function(std::uint32_t code, detail::HandlerOf<function>)
      : code_(code), call_(&detail::invoke<Instance, function>) {
    using Class = typename detail::Signature<decltype(function)>::Class;
    needs_instance_ = !std::is_void_v<Class>;
    if constexpr (!std::is_void_v<Class>) {
      static_assert(std::is_base_of_v<Class, Instance>, "the handler is of another class");
    }
  }
  constexpr Function() = default;

  constexpr std::uint32_t code() const noexcept { return code_; }
  constexpr bool needs_instance() const noexcept { return needs_instance_; }
  std::int32_t operator()(void* instance, void* params) const { return call_(instance, params); }

 private:
  std::uint32_t code_ = 0;
  std::int32_t (*call_)(void* instance, void* params) = nullptr;
  bool needs_instance_ = false;
};

/// A module, complete: what define_module() returns, for QM_EXPORT_MODULE and module_entry.
template <class InstanceClass, std::size_t count>
struct ModuleDefinition {
  using Instance = InstanceClass;

  About about;
  std::uint32_t version;                              // packed, as in qm_module_info
  std::array<Function<Instance>, count> functions{};  // by code
};

namespace detail {

constexpr std::uint32_t packed_version(std::string_view text) {
  std::uint32_t version = 0;
  for (int part = 0; part < 4; ++part) {
    std::uint32_t value = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
      value = value * 10 + static_cast<std::uint32_t>(text[digits] - '0');
      if (value > 255) throw "a part of the version is above 255";
    }
    if (digits == 0) throw "the version is not major.minor.patch.build";
    version = version << 8 | value;
    text.remove_prefix(digits);
    if (text.starts_with('.') == (part == 3)) throw "the version is not major.minor.patch.build";
    if (part != 3) text.remove_prefix(1);
  }
  if (!text.empty()) throw "the version is not major.minor.patch.build";
  return version;
}

template <class Instance, std::size_t count>
constexpr ModuleDefinition<Instance, count> checked(ModuleDefinition<Instance, count> module) {
  if (std::string_view(module.about.name).empty()) throw "the module has no name";
  std::ranges::sort(module.functions, {}, &Function<Instance>::code);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t code = module.functions[i].code();
    if (code >> 24 == 0x10) throw "codes from 0x10000000 to 0x10FFFFFF are the kernel's";
    if (i > 0 && code == module.functions[i - 1].code()) throw "two handlers have the same code";
  }
  return module;
}

}  // namespace detail

/// Puts a module together; `Instance` is the class of its instances, whose constructor takes a
/// `const qm::Opening&` or nothing. The kernel's open creates an object, which fails with what the
/// constructor throws; the close destroys it, as soon as no handler works with it any more.
/// Owner: of nothing; the texts are literals. Errors: a wrong version, two handlers with one code
/// and the like stop the compiler. Threads: any.
///
///     struct Speed { std::int32_t value; };
///     class Motor {
///      public:
///       void read(Speed& record) const { record.value = 7; }
///       void stop() {}
///     };
///     constexpr auto module = qm::define_module<Motor>(
///         {.name = "motor", .version = "1.2.0.3", .description = "Turns"},
///         {{0x13000001, qm::handler<&Motor::stop>}, {0x13000000, qm::handler<&Motor::read>}});
///     check(module.version == 0x01020003 && module.functions[0].code() == 0x13000000);
template <class Instance = Stateless, std::size_t count>
consteval ModuleDefinition<Instance, count> define_module(
    const About& about, const Function<Instance> (&functions)[count]) {
  ModuleDefinition<Instance, count> module{about, detail::packed_version(about.version)};
  std::ranges::copy(functions, module.functions.begin());
  return detail::checked(module);
}
template <class Instance = Stateless>
consteval ModuleDefinition<Instance, 0> define_module(const About& about) {
  return detail::checked(
      ModuleDefinition<Instance, 0>{about, detail::packed_version(about.version)});
}

}  // namespace qm
