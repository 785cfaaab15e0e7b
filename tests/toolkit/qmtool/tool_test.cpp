#include "tests/toolkit/qmtool/tool_test.h"

#include <fstream>
#include <iterator>

#include "tests/contract/support/shared_library.h"

namespace qmtool_test {
namespace {

std::filesystem::path build_folder() { return contract::module_folder(); }

}  // namespace

ToolTest::ToolTest() {
  std::filesystem::copy_file(build_folder() / tool().filename(), tool());
  std::filesystem::copy_file(contract::kernel_file(), folder() / QMTOOL_KERNEL_NAME);
}

ProgramRun ToolTest::run(const Arguments& arguments) const {
  return run_program(tool(), arguments);
}

Json ToolTest::json(Arguments arguments, int exit_code) const {
  arguments.insert(arguments.begin(), "--json");
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

std::filesystem::path ToolTest::tool() const {
  return (folder() / "qmtool").replace_extension(contract::program_file().extension());
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
