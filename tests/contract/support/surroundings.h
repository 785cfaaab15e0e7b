// What a test finds around it: a current directory of its own, environment variables, the runtime's
// locale. Everything is as before when the object goes.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace contract {

// An empty folder that is the current directory while this object lives.
class ScratchFolder {
 public:
  ScratchFolder();
  // Fails the test when something still holds a file of the folder.
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path file(const std::string& name) const { return path_ / name; }
  // Puts a copy of the test module here under another name, or into a folder below.
  std::filesystem::path install(const std::string& module, const std::string& as_name) const;

 private:
  std::filesystem::path path_;
  std::filesystem::path before_;
};

// An environment variable with another value, or without one. As a host would set it: through the
// system, behind the back of the runtime's copy.
class ScopedVariable {
 public:
  ScopedVariable(std::string name, std::optional<std::string> value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::optional<std::string> before_;
};

// Gives the runtime's locale back: loading the kernel changes it for the whole process.
class ScopedLocale {
 public:
  ScopedLocale();
  ~ScopedLocale();
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

 private:
  std::string before_;
};

std::optional<std::string> variable(const std::string& name);
void set_variable(const std::string& name, const std::optional<std::string>& value);
long process_id();
// Seconds to add to the system's local time for UTC, as it is now.
long seconds_behind_utc();

}  // namespace contract
