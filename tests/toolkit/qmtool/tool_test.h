// The fixture of all tests of the tool: a folder of its own with the tool, the kernel and the
// modules that the test puts there, and nothing else.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/contract/support/surroundings.h"
#include "tests/toolkit/qmtool/run_program.h"

namespace qmtool_test {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

class ToolTest : public testing::Test {
 protected:
  ToolTest();

  ProgramRun run(const Arguments& arguments) const;
  // What it prints with --json, which has to be JSON. The exit code has to be this one.
  Json json(Arguments arguments, int exit_code = 0) const;

  // Puts libraries of the build into the test's folder; returns the file.
  std::filesystem::path install(const std::string& module) const { return install(module, module); }
  std::filesystem::path install(const std::string& module, const std::string& as_name) const;
  // The property module with a file of this content.
  void install_store(std::string_view toml) const;
  std::filesystem::path write(const std::string& name, std::string_view content) const;
  // "NAME.dll" or "NAME.so"
  static std::string library(const std::string& name);
  std::filesystem::path folder() const { return folder_.path(); }
  std::filesystem::path tool() const;

  // What the module "misbehaving" does wrong: "open crash".
  void misbehave(const std::string& how) { deed_.emplace("MISBEHAVE", how); }

 private:
  contract::ScratchFolder folder_;
  std::optional<contract::ScopedVariable> deed_;
};

std::string content_of(const std::filesystem::path& file);
// The file of a module of the tests, wherever the build put it.
std::filesystem::path built_library(const std::string& name);

}  // namespace qmtool_test
