// The module that is checked, in the process of one check.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <qm/module_handle.hpp>

#include "toolkit/qmtool/image/image.h"
#include "toolkit/qmtool/inspect/target.h"
#include "toolkit/qmtool/system/files.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/tool.h"

namespace qmtool {

class Report;

// A function code that no module serves.
inline constexpr std::uint32_t kUnknownCode = 0x7E570001;
// A handle that no module gives out.
inline constexpr std::uint32_t kWrongHandle = 0xDEADBEEF;

// An opened instance with the module's own entry and handle for it.
struct Instance {
  qm::ModuleHandle module;
  qm_call_fn entry = nullptr;
  std::uint32_t handle = 0;

  std::int32_t call(std::uint32_t code, void* record = nullptr) const {
    return entry(handle, code, record);
  }
};

struct SubjectOptions {
  std::string module;  // name or file
  std::string group;   // property group; may be empty
  std::string codes;   // "FIRST-LAST", the module's own; may be empty
};

class Subject {
 public:
  Subject(Tool& tool, Report& report, const SubjectOptions& options)
      : tool_(tool), report_(report), options_(options), target_(target_of(options.module)) {}

  // What is about to happen, should it not come back: "while it is closed".
  void enter(std::string_view stage);

  // Loaded at the first use: some checks want a process without it.
  qm::Kernel kernel() { return tool_.kernel(); }
  const Target& target() const noexcept { return target_; }
  const SubjectOptions& options() const noexcept { return options_; }
  // The file that is loaded for the module's name.
  // Errors: CheckFailure when there is none.
  const std::filesystem::path& file();
  const ImageReading& reading();

  // Loads the library without the kernel.
  // Errors: CheckFailure with the system's words.
  LoadedLibrary load();
  // Opens an instance through the kernel.
  // Errors: CheckFailure with the error that the kernel or the module left.
  qm::ModuleHandle open();
  qm::ModuleHandle open_with_group(const std::string& group);
  // Errors: also CheckSkipped for modules of the older protocol, whose entry knows other codes.
  Instance open_instance();

  // The basic information record that the library exports.
  // Errors: CheckFailure when it exports none, CheckSkipped for the older kind.
  const qm_module_info& exported_information(const LoadedLibrary& library) const;

 private:
  Tool& tool_;
  Report& report_;
  SubjectOptions options_;
  Target target_;
  std::filesystem::path file_;
  std::optional<MappedFile> bytes_;
  ImageReading reading_;
};

// "error 22: Invalid argument ..."
std::string describe(const qm::Error& error);

}  // namespace qmtool
