// Version numbers, and the version texts of module files.
#pragma once

#include <qmsd7.h>

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include <qm/buffer.hpp>
#include <qm/kernel.hpp>

namespace qm {

/// A version of four parts of a byte each, in one word.
/// Owner: of nothing. Errors: none. Threads: a plain value.
///
///     check(qm::Version{0x0703011D}.text() == "7.3.1.29");
///     check(qm::Version::of(7, 4, 0, 0) > qm::Version{kernel.info().version});
struct Version {
  std::uint32_t packed = 0;

  /// The version of these parts, most significant first.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(qm::Version::of(1, 2, 3, 4).packed == 0x01020304);
  static constexpr Version of(std::uint8_t first, std::uint8_t second, std::uint8_t third,
                              std::uint8_t fourth) noexcept {
    return {std::uint32_t{first} << 24 | std::uint32_t{second} << 16 | std::uint32_t{third} << 8 |
            fourth};
  }

  /// The parts, most significant first; and all of them as text.
  /// Owner: the text is a copy. Errors: text(): std::bad_alloc. Threads: any.
  ///
  ///     check(qm::Version::of(1, 2, 3, 4).parts()[2] == 3);
  constexpr std::array<std::uint8_t, 4> parts() const noexcept {
    const auto part = [this](int shift) { return static_cast<std::uint8_t>(packed >> shift); };
    return {part(24), part(16), part(8), part(0)};
  }
  std::string text() const {
    std::string text;
    for (const std::uint8_t part : parts())
      text += (text.empty() ? "" : ".") + std::to_string(part);
    return text;
  }

  friend constexpr auto operator<=>(const Version&, const Version&) = default;
};

/// A text of a version resource, in UTF-8: "FileDescription" and what it says.
struct VersionText {
  std::string key;
  std::string value;
};

namespace detail {

inline std::vector<VersionText> copy_version_texts(const qm_version_props& props) {
  std::vector<VersionText> texts;
  for (std::uint32_t at = 0; at < props.count; ++at) {
    texts.push_back({to_utf8(props.pairs[at].key), to_utf8(props.pairs[at].value)});
  }
  return texts;
}

}  // namespace detail

/// The version texts of a file, in the resource's order.
/// Owner: the result is a copy. Errors: 22, 2 no version resource or no texts in it, 0x1002 or
/// 0x1004 unreadable, 12. Threads: any.
///
///     check(qm::try_version_texts(kernel, "no/such/file").error().code() != 0);
inline Result<std::vector<VersionText>> try_version_texts(Kernel kernel, const Text& file) {
  qm_version_info_w record{file.c_str(), nullptr};
  return kernel.try_call(QM_CALL_VERSIONINFOW, &record).transform([&](std::int32_t) {
    const Buffer block = Buffer::adopt(kernel, record.props);
    return detail::copy_version_texts(*record.props);
  });
}
inline std::vector<VersionText> version_texts(Kernel kernel, const Text& file) {
  return try_version_texts(kernel, file).value();
}

/// A module library that the kernel finds: its file, in UTF-8, and its version.
struct InstalledModule {
  std::string path;
  Version version;
};

/// The module libraries in the current directory, the PATH and the system's `qm` folder, in this
/// order, whose names without extension match the pattern. Those without version are left out.
/// Owner: the result is a copy. Errors: those of any call. Threads: any.
///
///     for (const qm::InstalledModule& module : qm::list_modules(kernel, "ex*")) {
///       check(!module.path.empty() && module.version.packed != 0);
///     }
inline Result<std::vector<InstalledModule>> try_list_modules(Kernel kernel,
                                                             const Text& pattern = "*") {
  qm_list_modules_w list{};
  list.pattern = pattern.c_str();
  return kernel.try_call(QM_CALL_LISTMODULESW, &list).transform([&](std::int32_t) {
    const Buffer paths = Buffer::adopt(kernel, list.paths);
    const Buffer versions = Buffer::adopt(kernel, list.versions);
    std::vector<InstalledModule> modules;
    for (std::int32_t at = 0; at < list.count; ++at) {
      const Buffer path = Buffer::adopt(kernel, list.paths[at]);
      modules.push_back({to_utf8(path.wide_text()), Version{list.versions[at]}});
    }
    return modules;
  });
}
inline std::vector<InstalledModule> list_modules(Kernel kernel, const Text& pattern = "*") {
  return try_list_modules(kernel, pattern).value();
}

}  // namespace qm
