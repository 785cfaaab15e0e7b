// The fixture of tests with modules: module files in the test's own folder, and the journal in
// which the modules note what happens to them.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/contract/support/kernel_test.h"
#include "tests/modules/test_module.h"

namespace contract {

using Lines = std::vector<std::string>;

class ModuleTest : public KernelTest {
 protected:
  ModuleTest();

  // Puts test modules into the current directory.
  void install(const std::string& module) { folder().install(module, module); }
  void install_as(const std::string& module, const std::string& name) {
    folder().install(module, name);
  }
  // Loads the kernel again, with a property store of these lines (tests/modules/test_module.h).
  void load_kernel_with_store(const std::string& lines);
  // Start values of the modules' settings, for those that are loaded from now on.
  void configure(const std::string& settings);
  // Changes a setting of a loaded module.
  void set(std::uint32_t handle, tm_setting setting, std::int32_t value);

  // What the modules noted so far; only the lines that contain `part`.
  Lines journal(const std::string& part = "") const;
  void clear_journal() const;

  // An open that fails with this error, leaving handle 0 and the caller's texts.
  testing::AssertionResult open_fails(const Text& name, const Failure& expected) {
    return open_fails(name, nullptr, expected);
  }
  testing::AssertionResult open_fails(const Text& name, const qm_wchar* group,
                                      const Failure& expected);
  // The failure that stays when no library of this name can be loaded.
  static Failure cannot_load(const std::string& name);
  static bool is_loaded(const std::string& module);

  qm_resolve_handle resolve(std::uint32_t handle);

 private:
  ScopedVariable journal_file_;
  ScopedVariable settings_;
  std::unique_ptr<ScopedVariable> store_;
};

std::chrono::milliseconds elapsed_since(std::chrono::steady_clock::time_point start);

}  // namespace contract
