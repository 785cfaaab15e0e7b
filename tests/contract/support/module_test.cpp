#include "tests/contract/support/module_test.h"

#include <fstream>

#include "tests/contract/support/system_folder.h"

namespace contract {

ModuleTest::ModuleTest()
    : journal_file_("TM_JOURNAL", folder().file("journal.txt").string()),
      settings_("TM_SETTINGS", std::nullopt) {}

void ModuleTest::load_kernel_with_store(const std::string& lines) {
  unload_kernel();
  if (!store_) install_as("property/qmproperty", "qmproperty");
  store_.reset();
  store_ = std::make_unique<ScopedVariable>("TM_STORE", lines);
  clear_journal();
  load_kernel();
}

void ModuleTest::configure(const std::string& settings) { set_variable("TM_SETTINGS", settings); }

void ModuleTest::set(std::uint32_t handle, tm_setting setting, std::int32_t value) {
  tm_set record{setting, value};
  EXPECT_EQ(kernel().through(handle, TM_SET, &record), 1);
}

Lines ModuleTest::journal(const std::string& part) const {
  std::ifstream file(folder().file("journal.txt"));
  Lines lines;
  for (std::string line; std::getline(file, line);) {
    if (line.find(part) != std::string::npos) lines.push_back(line);
  }
  return lines;
}

void ModuleTest::clear_journal() const { std::filesystem::remove(folder().file("journal.txt")); }

testing::AssertionResult ModuleTest::open_fails(const Text& name, const qm_wchar* group,
                                                const Failure& expected) {
  qm_open_module_w record{name.c_str(), group, 0xC3C3C3C3};
  const auto failed = kernel().fails(QM_CALL_OPENMODULEW, &record, expected);
  if (record.name != name.c_str() || record.group != group) {
    return testing::AssertionFailure() << "the caller's texts were replaced";
  }
  if (record.handle != 0) return testing::AssertionFailure() << "the handle is not 0";
  return failed;
}

Failure ModuleTest::cannot_load(const std::string& name) {
  const auto last_attempt = SystemFolder::path() / (name + kLibraryExtension);
  return failure(0x1000, "('%s'->'%s')", name.c_str(), load_failure_of(last_attempt).c_str());
}

bool ModuleTest::is_loaded(const std::string& module) {
  return SharedLibrary::is_loaded(std::filesystem::current_path() / (module + kLibraryExtension));
}

qm_resolve_handle ModuleTest::resolve(std::uint32_t handle) {
  qm_resolve_handle record{handle, 0, nullptr, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_RESOLVEHANDLE, &record), 1);
  EXPECT_EQ(record.handle, handle);
  return record;
}

std::chrono::milliseconds elapsed_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               start);
}

}  // namespace contract
