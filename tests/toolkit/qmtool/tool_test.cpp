#include "tests/toolkit/qmtool/tool_test.h"

#include <fstream>
#include <iterator>
#include <system_error>

#include "tests/contract/support/shared_library.h"

namespace qmtool_test {
namespace {

std::filesystem::path build_folder() { return contract::module_folder(); }

// The program is large.
void link_or_copy(const std::filesystem::path& from, const std::filesystem::path& to) {
  std::error_code problem;
  std::filesystem::create_hard_link(from, to, problem);
  if (problem) std::filesystem::copy_file(from, to);
}

std::filesystem::path tool_file() {
  return std::filesystem::path("qmtool").replace_extension(contract::program_file().extension());
}

}  // namespace

ToolTest::ToolTest() {
  link_or_copy(build_folder() / tool_file(), folder() / tool_file());
  const std::filesystem::path kernel = contract::kernel_file();
  link_or_copy(kernel, folder() / QMTOOL_KERNEL_NAME);
}

ProgramRun ToolTest::run(const Arguments& arguments) const {
  return run_program(folder() / tool_file(), arguments);
}

Json ToolTest::json(Arguments arguments, int exit_code) const {
  arguments.emplace_back("--json");
  const ProgramRun result = run(arguments);
  EXPECT_EQ(result.exit_code, exit_code) << result.output << result.errors;
  Json document = Json::parse(result.output, nullptr, false);
  EXPECT_FALSE(document.is_discarded()) << result.output << result.errors;
  return document;
}

std::filesystem::path ToolTest::install(const std::string& module,
                                        const std::string& as_name) const {
  const auto file = folder() / library(as_name);
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::copy_file(built_library(module), file);
  return file;
}

void ToolTest::install_store(std::string_view toml) const {
  install("qmproperty");
  write("qmproperty.toml", toml);
}

std::filesystem::path ToolTest::write(const std::string& name, std::string_view content) const {
  const auto file = folder() / name;
  std::ofstream(file, std::ios::binary)
      .write(content.data(), static_cast<std::streamsize>(content.size()));
  return file;
}

std::string ToolTest::library(const std::string& name) {
  return name + contract::kLibraryExtension;
}

std::string content_of(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::filesystem::path built_library(const std::string& name) {
  const std::string file = name + contract::kLibraryExtension;
  const std::filesystem::path folders[] = {build_folder(),
                                           contract::program_file().parent_path() / "modules",
                                           build_folder() / "tests" / "modules"};
  for (const auto& folder : folders) {
    if (std::filesystem::exists(folder / file)) return folder / file;
  }
  ADD_FAILURE() << "the build made no " << file;
  return {};
}

}  // namespace qmtool_test
