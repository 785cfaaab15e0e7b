// Changes to what surrounds a test, undone at its end.
#pragma once

#include <filesystem>
#include <string>

namespace qmsd::platform {

// In the live environment; null removes the variable.
void set_variable(const char* name, const char* value);

class VariableGuard {
 public:
  VariableGuard(const char* name, const char* value) : name_(name) { set_variable(name, value); }
  ~VariableGuard() { set_variable(name_, nullptr); }
  VariableGuard(const VariableGuard&) = delete;
  VariableGuard& operator=(const VariableGuard&) = delete;

 private:
  const char* name_;
};

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path add_file(const std::filesystem::path& name,
                                 const std::string& content = {}) const;

 private:
  std::filesystem::path path_;
};

class CurrentFolderGuard {
 public:
  explicit CurrentFolderGuard(const std::filesystem::path& folder)
      : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
  }
  ~CurrentFolderGuard() { std::filesystem::current_path(before_); }
  CurrentFolderGuard(const CurrentFolderGuard&) = delete;
  CurrentFolderGuard& operator=(const CurrentFolderGuard&) = delete;

 private:
  std::filesystem::path before_;
};

}  // namespace qmsd::platform
