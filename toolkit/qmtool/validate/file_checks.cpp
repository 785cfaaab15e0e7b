// Checks of the library file and its version information.
#include <algorithm>

#include <qm/version.hpp>

#include "toolkit/qmtool/inspect/fitness.h"
#include "toolkit/qmtool/inspect/imports.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

void fits(Subject& module) {
  const Unfitness unfitness = unfitness_of(module.reading());
  expect(unfitness.cause == nullptr, "the file " + unfitness.detail);
}

void finds_imports(Subject& module) {
  const ImportReport report = check_imports(module.file(), module.reading().image);
  if (report.problems.empty()) return;
  const ImportProblem& problem = report.problems.front();
  const std::string what = problem.kind == ImportProblem::Kind::function
                               ? problem.name + " of " + problem.library
                               : problem.library;
  throw CheckFailure(problem.wanted_by.back() + " imports " + what + ", which is not there");
}

void expect_export(Subject& module, const char* name) {
  expect(module.reading().image.exports_name(name), std::string("it exports no ") + name);
}
void exports_information(Subject& module) { expect_export(module, "qmmoduleinfo"); }
void exports_call(Subject& module) { expect_export(module, "qm_call"); }

void exports_nothing_else(Subject& module) {
  for (const std::string_view name : module.reading().image.exports) {
    expect(name == "qm_call" || name == "qmmoduleinfo", "it also exports " + std::string(name));
  }
}

void has_lower_case_name(Subject& module) {
  const std::string name = utf8(module.file().stem());
  expect(name == lower_case(name), "the file is called " + name);
}

std::vector<qm::VersionText> version_texts(Subject& module) {
  auto texts = qm::try_version_texts(module.kernel(), utf8(module.file()));
  if (!texts) throw CheckSkipped("file.version failed");
  return std::move(texts).value();
}

void has_version(Subject& module) {
  const auto texts = qm::try_version_texts(module.kernel(), utf8(module.file()));
  if (!texts) throw CheckFailure("reading it fails with " + describe(texts.error()));
}

std::string version_text(Subject& module, std::string_view key) {
  const auto texts = version_texts(module);
  const auto text = std::ranges::find(texts, key, &qm::VersionText::key);
  if (text == texts.end()) throw CheckFailure("it has no " + std::string(key));
  return text->value;
}

void version_agrees(Subject& module) {
  const auto library = module.load();
  const auto record = qm::Version{module.exported_information(library).version}.text();
  const std::string resource = version_text(module, "FileVersion");
  expect(resource == record, "the file says " + resource + ", the record " + record);
}

void description_agrees(Subject& module) {
  const auto library = module.load();
  const char* const description = module.exported_information(library).description;
  const std::string record = description != nullptr ? description : "nothing";
  const std::string resource = version_text(module, "FileDescription");
  expect(resource == record, "the file says \"" + resource + "\", the record \"" + record + "\"");
}

void knows_its_name(Subject& module) {
  const std::string original = version_text(module, "OriginalFilename");
  const std::string name = utf8(module.file().filename());
  expect(lower_case(original) == lower_case(name), "it was " + original + ", it is " + name);
}

constexpr const char* kExportAdvice =
    "Define it, mark it QM_EXPORT, and list it where the build lists exports.";

constexpr Check kChecks[] = {
    {kFileCheck, "The file is a library for this system", "Build the module for this system.",
     &fits, Needs::nothing},
    {"file.imports", "Everything that it imports is found",
     "Link the module without it, or put it where \"qmtool inspect\" tells.", &finds_imports,
     Needs::file},
    {"file.information-export", "It exports qmmoduleinfo", kExportAdvice, &exports_information,
     Needs::file},
    {"file.call-export", "It exports qm_call", kExportAdvice, &exports_call, Needs::file},
    {"file.no-other-exports", "It exports nothing else",
     "Use an export list, or hide symbols by default: names that are exported can clash.",
     &exports_nothing_else, Needs::file, Weight::should},
    {"file.lower-case-name", "Its name is in lower case",
     "Rename the file: on some systems names are told apart by case.", &has_lower_case_name,
     Needs::file, Weight::should},
    {"file.version", "It has version information",
     "Add a version resource, VERSION in qm_add_module(): without it the module is not listed.",
     &has_version, Needs::file},
    {"file.version-agrees", "Version information and information record tell one version",
     "Make both from one definition.", &version_agrees, Needs::load},
    {"file.description-agrees", "Version information and information record tell one description",
     "Make both from one definition.", &description_agrees, Needs::load, Weight::should},
    {"file.original-name", "The file has the name that its version information tells",
     "Do not rename modules, or build them under the new name.", &knows_its_name, Needs::file,
     Weight::should},
};

}  // namespace

std::span<const Check> file_checks() { return kChecks; }

}  // namespace qmtool
