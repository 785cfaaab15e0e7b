#include "tests/contract/support/surroundings.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "tests/contract/support/shared_library.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <time.h>
#include <unistd.h>
#endif

namespace contract {
namespace {

std::filesystem::path next_folder() {
  static int number = 0;
  return program_file().parent_path() / "scratch" /
         (std::to_string(process_id()) + "_" + std::to_string(++number));
}

}  // namespace

ScratchFolder::ScratchFolder() : path_(next_folder()), before_(std::filesystem::current_path()) {
  std::filesystem::remove_all(path_);
  std::filesystem::create_directories(path_);
  std::filesystem::current_path(path_);
}

ScratchFolder::~ScratchFolder() {
  std::filesystem::current_path(before_);
  std::error_code problem;
  std::filesystem::remove_all(path_, problem);
  EXPECT_FALSE(problem) << path_ << ": " << problem.message();
}

std::filesystem::path ScratchFolder::install(const std::string& module,
                                             const std::string& as_name) const {
  const std::filesystem::path target = path_ / (as_name + kLibraryExtension);
  std::filesystem::create_directories(target.parent_path());
  std::filesystem::copy_file(module_folder() / (module + kLibraryExtension), target);
  return target;
}

ScopedVariable::ScopedVariable(std::string name, std::optional<std::string> value)
    : name_(std::move(name)), before_(variable(name_)) {
  set_variable(name_, value);
}

ScopedVariable::~ScopedVariable() { set_variable(name_, before_); }

ScopedLocale::ScopedLocale() : before_(std::setlocale(LC_ALL, nullptr)) {}

ScopedLocale::~ScopedLocale() { std::setlocale(LC_ALL, before_.c_str()); }

#ifdef _WIN32

std::optional<std::string> variable(const std::string& name) {
  char value[8192];
  ::SetLastError(ERROR_SUCCESS);
  const DWORD length = ::GetEnvironmentVariableA(name.c_str(), value, sizeof value);
  if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  return std::string(value, length);
}

void set_variable(const std::string& name, const std::optional<std::string>& value) {
  ::SetEnvironmentVariableA(name.c_str(), value ? value->c_str() : nullptr);
}

long process_id() { return static_cast<long>(::GetCurrentProcessId()); }

long seconds_behind_utc() {
  // Counted in steps of 100 nanoseconds.
  const auto steps = [](const FILETIME& time) {
    return std::int64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  };
  FILETIME utc{};
  FILETIME local{};
  ::GetSystemTimeAsFileTime(&utc);
  ::FileTimeToLocalFileTime(&utc, &local);
  return static_cast<long>((steps(utc) - steps(local)) / 10000000);
}

#else

std::optional<std::string> variable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

void set_variable(const std::string& name, const std::optional<std::string>& value) {
  if (value) {
    ::setenv(name.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(name.c_str());
  }
}

long process_id() { return static_cast<long>(::getpid()); }

long seconds_behind_utc() {
  ::tzset();
  const time_t now = ::time(nullptr);
  tm local{};
  ::localtime_r(&now, &local);
  return -local.tm_gmtoff;
}

#endif

}  // namespace contract
