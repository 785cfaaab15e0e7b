// The fixture of all tests that run modules: a kernel life of its own in an empty current folder,
// test modules put there by name, and the journal in which they tell what happened to them.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "include/qmsd7.h"
#include "kernel/entry/lifecycle.h"
#include "modules/registry.h"
#include "platform/library.h"
#include "tests/modules/test_module.h"
#include "tests/support/expect_error.h"

namespace qmsd {

using Lines = std::vector<std::string>;
using test::WideString;

// The tests' own texts are ASCII.
inline WideString wide(std::string_view text) { return {text.begin(), text.end()}; }
inline std::string narrow(std::basic_string_view<qm_wchar> text) {
  std::string result;
  for (const qm_wchar unit : text) result += static_cast<char>(unit);
  return result;
}

// Seen by modules at once; an empty value removes the variable.
inline void set_environment(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  if (value.empty()) {
    unsetenv(name);
  } else {
    setenv(name, value.c_str(), 1);
  }
#endif
}

inline std::string error_message() { return test::readable(test::thread_error().message); }

inline void set_thread_error(std::int32_t code) {
  qm_set_error_w record{QM_SET_ERROR_LITERAL, code, QM_W("marker"), nullptr};
  qm_call(0, QM_CALL_SETERRORW, &record);
}

class ModuleTest : public testing::Test {
 protected:
  void SetUp() override {
    // Other cases may run at the same time, each in a process of its own.
    folder_ = program_folder() / "scratch_modules" / std::to_string(getpid());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    std::filesystem::current_path(folder_);
    journal_file_ = folder_ / "journal.txt";
    set_environment("TM_JOURNAL", journal_file_.string());
  }

  void TearDown() override {
    stop();
    for (const char* name : {"TM_JOURNAL", "TM_SETTINGS", "TM_KERNEL", "TM_STORE"}) {
      set_environment(name, "");
    }
    std::filesystem::current_path(program_folder());
    std::error_code problem;
    std::filesystem::remove_all(folder_, problem);
    EXPECT_FALSE(problem) << "a module is still loaded: " << problem.message();
  }

  // Puts a test module into the current folder, under another name if wanted.
  void install(const std::string& module, const std::string& name = "") {
    copy(program_folder() / "modules" / (module + extension()), name.empty() ? module : name);
  }
  void install_store(const std::string& lines) {
    copy(program_folder() / "modules" / "property" / ("qmproperty" + extension()), "qmproperty");
    set_environment("TM_STORE", lines);
  }

  void start() {
    attach();
    running_ = true;
  }
  void stop() {
    if (running_) detach(false);
    running_ = false;
  }

  // The handle, or 0 with an error.
  static std::uint32_t open(const std::string& name, const char* group = nullptr) {
    const WideString wide_name = wide(name);
    const WideString wide_group = wide(group == nullptr ? "" : group);
    qm_open_module_w record{wide_name.c_str(), group == nullptr ? nullptr : wide_group.c_str(), 0};
    return qm_call(0, QM_CALL_OPENMODULEW, &record) == 0 ? 0 : record.handle;
  }
  static void close(std::uint32_t handle) {
    qm_handle_ref record{handle};
    EXPECT_EQ(qm_call(0, QM_CALL_CLOSEHANDLE, &record), 1);
  }
  // A call of the module's own that it only journals.
  static std::int32_t call(std::uint32_t handle, std::uint32_t code) {
    return qm_call(handle, code, nullptr);
  }
  static std::int32_t change(std::uint32_t handle, tm_setting setting, std::int32_t value) {
    tm_set record{setting, value};
    return qm_call(handle, TM_SET, &record);
  }
  // What the modules told since the last question.
  Lines journal() {
    std::ifstream in(journal_file_, std::ios::binary);
    in.seekg(journal_read_);
    Lines lines;
    for (std::string line; std::getline(in, line);) {
      journal_read_ += static_cast<std::streamoff>(line.size()) + 1;
      lines.push_back(line);
    }
    return lines;
  }

  const std::filesystem::path& folder() const { return folder_; }

 private:
  static std::string extension() { return narrow(platform::kLibraryExtension); }
  static std::filesystem::path program_folder() {
    char name[512];
    platform::executable_name(name, sizeof name);
    return std::filesystem::path(name).parent_path();
  }
  void copy(const std::filesystem::path& file, const std::string& name) {
    std::filesystem::copy_file(file, folder_ / (name + extension()));
  }

  std::filesystem::path folder_;
  std::filesystem::path journal_file_;
  std::streamoff journal_read_ = 0;
  bool running_ = false;
};

// How often a line occurs.
inline std::ptrdiff_t count_of(const Lines& lines, const std::string& line) {
  return std::count(lines.begin(), lines.end(), line);
}

}  // namespace qmsd
