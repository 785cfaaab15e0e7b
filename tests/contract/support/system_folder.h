// The `qm` folder below the system directory, where the kernel looks for modules last.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace contract {

// Files that a test puts there; gone with this object. Their names are unlike any real module's.
class SystemFolder {
 public:
  SystemFolder();
  ~SystemFolder();
  SystemFolder(const SystemFolder&) = delete;
  SystemFolder& operator=(const SystemFolder&) = delete;

  static std::filesystem::path path();
  // Natively the directory is built in; only one of the build's own may be written to
  // (QMSD_SYSTEM_DIRECTORY). Under Wine it belongs to the prefix.
  static bool may_be_written();

  // Both return the module name of the new file.
  std::string install(const std::string& module, const std::string& purpose);
  std::string unfit_file(const std::string& purpose);

 private:
  std::string new_name(const std::string& purpose);

  std::vector<std::filesystem::path> files_;
};

// What the system says when a library file cannot be loaded, without the line end.
std::string load_failure_of(const std::filesystem::path& file);

}  // namespace contract
