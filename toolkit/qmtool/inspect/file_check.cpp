#include "toolkit/qmtool/inspect/file_check.h"

#include <algorithm>

#include "toolkit/qmtool/inspect/fitness.h"
#include "toolkit/qmtool/system/files.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

struct Advice {
  const char* cause;
  const char* text;
};
constexpr Advice kFileAdvice[] = {
    {"empty-file", "Copy the file again, from where it was built."},
    {"not-a-library",
     "Put the module's library there, not this file, or give the file another name."},
    {"truncated-file", "Copy the file again: its end is missing."},
    {"damaged-file", "Build the module again, or copy it again."},
    {"other-system", "Build the module for this system, or use it on the other one."},
    {"other-word-size", "Build the module for the word size of the program that loads it."},
    {"other-machine", "Build the module for this machine."},
    {"program", "Link the module as a library; with CMake use qm_add_module()."},
};

std::string advice_on(std::string_view cause) {
  return std::ranges::find(kFileAdvice, cause,
                           [](const Advice& row) { return std::string_view(row.cause); })
      ->text;
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : std::string(separator)) + text;
  return all;
}

class FileCheck {
 public:
  explicit FileCheck(Diagnosis& diagnosis)
      : diagnosis_(diagnosis), name_(utf8(diagnosis.file.filename())) {}

  void run() {
    const MappedFile file(diagnosis_.file);
    if (!file.problem().empty()) {
      find("unreadable", name_ + " cannot be opened: " + file.problem() + ".",
           "Allow the user who starts the program to read the file.");
      return;
    }
    const ImageReading reading = read_image(file.bytes());
    take(reading.image);
    if (!check_image(reading) || !check_ending() || !check_what_it_imports(reading.image)) return;
    check_exports();
  }

 private:
  bool find(std::string cause, std::string problem, std::string advice) {
    diagnosis_.steps.push_back({false, problem});
    diagnosis_.finding = {std::move(cause), std::move(problem), std::move(advice)};
    return false;
  }
  void pass(std::string text) { diagnosis_.steps.push_back({true, std::move(text)}); }

  void take(const Image& image) {
    if (image.bits == 0) return;
    diagnosis_.exports.assign(image.exports.begin(), image.exports.end());
    diagnosis_.kind = describe(image);
    diagnosis_.bits = image.bits;
  }

  bool check_image(const ImageReading& reading) {
    const Unfitness unfitness = unfitness_of(reading);
    if (unfitness.cause == nullptr) {
      pass(name_ + " is a " + describe(reading.image) + ".");
      return true;
    }
    return find(unfitness.cause, "The file " + name_ + " " + unfitness.detail + ".",
                advice_on(unfitness.cause));
  }

  bool check_ending() {
    const std::string ending(kLibraryExtension);
    if (lower_case(utf8(diagnosis_.file.extension())) == ending) return true;
    return find("wrong-ending", "The kernel loads no file but those that end in " + ending + ".",
                "Rename " + name_ + " to " + utf8(diagnosis_.file.stem()) + ending + ".");
  }

  bool check_what_it_imports(const Image& image) {
    diagnosis_.imports = check_imports(diagnosis_.file, image);
    for (const ImportProblem& problem : diagnosis_.imports.problems) add_import_finding(problem);
    if (diagnosis_.finding) return false;
    const std::size_t count = diagnosis_.imports.found.size();
    pass(count == 0 ? "It imports no libraries."
                    : "It imports " + counted(count, "library", "libraries") +
                          (count == 1 ? ", which is found." : ", all of them found."));
    return true;
  }

  // The first problem is the nearest one, and the one to mend first.
  void add_import_finding(const ImportProblem& problem) {
    const std::optional<Finding> first = diagnosis_.finding;
    const std::string chain = joined(problem.wanted_by, ", which imports ");
    switch (problem.kind) {
      case ImportProblem::Kind::missing:
        find("missing-import", chain + " imports " + problem.library + ", which is not there.",
             advice_on_missing(problem));
        break;
      case ImportProblem::Kind::unfit:
        find("unfit-import",
             chain + " imports " + problem.library + "; the file " + utf8(problem.file) + " " +
                 problem.detail + ".",
             "Put a " + problem.library + " for this system in its place.");
        break;
      case ImportProblem::Kind::function:
        find("missing-function", missing_function(problem, chain), advice_on_function(problem));
        break;
    }
    if (first) diagnosis_.finding = first;
  }

  static std::string advice_on_missing(const ImportProblem& problem) {
    if (!problem.file.empty()) {
      return problem.library + " lies beside the module, where this system does not look: " +
             std::string(kCureForBeside) + ".";
    }
    return "Put " + problem.library + " " + std::string(kPlaceForImports) + ", or link " +
           problem.wanted_by.back() + " without it.";
  }

  static std::string missing_function(const ImportProblem& problem, const std::string& chain) {
    if (problem.library.empty()) {
      return chain + " uses " + problem.name + ", which no library defines.";
    }
    return chain + " uses " + problem.name + " of " + problem.library + ", which " +
           utf8(problem.file) + " does not export.";
  }

  static std::string advice_on_function(const ImportProblem& problem) {
    if (problem.library.empty()) {
      return "Link " + problem.wanted_by.back() + " with the library that defines " + problem.name +
             ".";
    }
    return "Replace " + utf8(problem.file) + " by the version of " + problem.library + " that " +
           problem.wanted_by.back() + " was built with.";
  }

  bool check_exports() {
    const bool has_info = exports("qmmoduleinfo");
    const bool has_call = exports("qm_call");
    if (has_info) {
      pass(has_call ? "It exports qm_call and qmmoduleinfo." : "It exports qmmoduleinfo.");
      return true;
    }
    const std::string decorated = decorated_export();
    if (!decorated.empty()) {
      return find("no-information", name_ + " exports " + decorated + " instead of the plain name.",
                  "Export the names qm_call and qmmoduleinfo as they are written, with an export "
                  "list or the linker's --kill-at.");
    }
    if (has_call) {
      return find("no-information",
                  name_ + " exports qm_call but no qmmoduleinfo; only an alias could lead to it.",
                  "Define and export the information record qmmoduleinfo.");
    }
    return find(
        "no-exports", name_ + " exports neither qm_call nor qmmoduleinfo: it is no module.",
        "Export both names, QM_EXPORT in front of their definitions, or choose another file.");
  }

  bool exports(std::string_view name) const {
    return std::ranges::find(diagnosis_.exports, name) != diagnosis_.exports.end();
  }

  // "_qm_call@12", "qm_call@12", "_qmmoduleinfo"
  std::string decorated_export() const {
    for (const std::string& name : diagnosis_.exports) {
      const std::string_view plain = std::string_view(name).substr(name.starts_with('_') ? 1 : 0);
      if (name != "qm_call" && (plain.starts_with("qm_call") || plain == "qmmoduleinfo"))
        return name;
    }
    return "";
  }

  Diagnosis& diagnosis_;
  std::string name_;
};

}  // namespace

void check_file(Diagnosis& diagnosis) { FileCheck(diagnosis).run(); }

}  // namespace qmtool
