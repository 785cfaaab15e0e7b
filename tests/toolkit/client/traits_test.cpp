// What can be told of the client's types before anything runs.
#include <qm/client.hpp>

#include <concepts>
#include <exception>
#include <ranges>
#include <type_traits>

namespace client_test {
namespace {

template <class T>
concept MovesOnly =
    std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T> &&
    std::is_nothrow_destructible_v<T> && std::is_nothrow_default_constructible_v<T> &&
    !std::is_copy_constructible_v<T> &&
    !std::is_copy_assignable_v<T>;

static_assert(MovesOnly<qm::Variant>);
static_assert(MovesOnly<qm::Buffer>);
static_assert(MovesOnly<qm::Slot>);
static_assert(MovesOnly<qm::ModuleHandle>);
static_assert(MovesOnly<qm::KernelLibrary>);
static_assert(std::is_nothrow_move_constructible_v<qm::DirectModule>);
static_assert(!std::is_copy_constructible_v<qm::DirectModule>);
static_assert(!std::is_copy_assignable_v<qm::DirectModule>);

// An owner is a kernel and a raw value, and converts to no number by accident.
static_assert(sizeof(qm::Kernel) == sizeof(void*));
static_assert(sizeof(qm::Variant) == 2 * sizeof(void*));
static_assert(std::is_trivially_copyable_v<qm::Kernel>);
static_assert(!std::is_convertible_v<qm::Variant, bool>);
static_assert(!std::is_convertible_v<qm::ModuleHandle, std::uint32_t>);
static_assert(!std::is_convertible_v<qm_call_fn, qm::Kernel>);
static_assert(std::is_convertible_v<const qm::KernelLibrary&, qm::Kernel>);

// Exceptions are copied while others are on their way.
static_assert(std::derived_from<qm::Error, std::exception>);
static_assert(std::is_nothrow_copy_constructible_v<qm::Error>);
static_assert(std::is_nothrow_copy_assignable_v<qm::Error>);

static_assert(!std::is_convertible_v<qm::Result<int>, bool>);
static_assert(std::is_copy_constructible_v<qm::Result<int>>);
static_assert(!std::is_copy_constructible_v<qm::Result<qm::Variant>>);
static_assert(std::is_nothrow_move_constructible_v<qm::Result<qm::Variant>>);
static_assert(!std::is_copy_constructible_v<qm::ErrorStateGuard>);
static_assert(!std::is_move_constructible_v<qm::ErrorStateGuard>);

static_assert(std::is_trivially_copyable_v<qm::DateTime> && sizeof(qm::DateTime) == 8);
static_assert(qm::DateTime() == qm::DateTime::from_packed(0xFFFFFFFFF803F800));

static_assert(std::ranges::input_range<const qm::Children>);
static_assert(!std::ranges::forward_range<const qm::Children>);

// What becomes a text without being asked, and what does not.
template <class T>
concept BecomesText = std::convertible_to<T, qm::Text>;
static_assert(BecomesText<const char*> && BecomesText<std::string> && BecomesText<const char8_t*>);
static_assert(BecomesText<std::u16string_view> && BecomesText<const qm_wchar*>);
static_assert(!BecomesText<int> && !BecomesText<std::nullptr_t> && !BecomesText<char>);
static_assert(!BecomesText<std::u32string>);

template <class T>
concept BecomesValue = std::convertible_to<T, qm::Value>;
static_assert(BecomesValue<int> && BecomesValue<unsigned long> && BecomesValue<float>);
static_assert(BecomesValue<bool> && BecomesValue<const char*> && BecomesValue<qm::DateTime>);
static_assert(BecomesValue<std::vector<double>> && BecomesValue<std::array<short, 3>>);
static_assert(BecomesValue<std::span<const std::byte>> && BecomesValue<std::vector<qm::DateTime>>);
static_assert(BecomesValue<qm::TimePoint> && BecomesValue<std::chrono::sys_seconds>);
static_assert(BecomesValue<std::chrono::year_month_day> && BecomesValue<qm::ObjectReference>);
static_assert(!BecomesValue<char> && !BecomesValue<wchar_t> && !BecomesValue<long double>);
static_assert(!BecomesValue<void*> && !BecomesValue<std::vector<bool>>);
static_assert(!BecomesValue<std::nullptr_t> && !BecomesValue<std::vector<std::string>>);

static_assert(qm::type_of<signed char> == QM_TYPE_SIGNED);
static_assert(qm::type_of<unsigned long long> == QM_TYPE_UNSIGNED);
static_assert(qm::type_of<double> == QM_TYPE_FLOATING);
static_assert(qm::type_of<qm::DateTime> == QM_TYPE_DATETIME);

static_assert(qm::Version::of(7, 3, 1, 29).packed == QM_KERNEL_VERSION);
static_assert(qm::Version::of(1, 0, 0, 255) < qm::Version::of(1, 0, 1, 0));

}  // namespace
}  // namespace client_test
