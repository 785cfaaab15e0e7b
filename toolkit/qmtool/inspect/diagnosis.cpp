#include "toolkit/qmtool/inspect/diagnosis.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "toolkit/qmtool/inspect/file_check.h"
#include "toolkit/qmtool/inspect/trial_finding.h"
#include "toolkit/qmtool/probe.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

class Diagnostician {
 public:
  Diagnostician(const Tool& tool, const Target& target, const DiagnosisOptions& options)
      : tool_(tool), options_(options) {
    result_.target = target;
  }

  Diagnosis run() {
    result_.candidates = candidates_of(result_.target);
    const ProbeResult trial =
        run_probe(tool_, "open", {result_.target.name, options_.group}, options_.limit);
    result_.facts = trial.facts;
    if (trial.has("opened")) {
      accept(trial);
    } else if (!look_behind_alias()) {
      find_the_cause(trial);
    }
    return std::move(result_);
  }

 private:
  void pass(std::string text) { result_.steps.push_back({true, std::move(text)}); }
  void find(Finding finding) {
    result_.steps.push_back({false, finding.problem});
    result_.finding = std::move(finding);
  }

  void accept(const ProbeResult& trial) {
    result_.file = path_of(trial.text("file")).lexically_normal();
    check_file(result_);
    // The kernel has the last word.
    result_.finding.reset();
    std::erase_if(result_.steps, [](const Step& step) { return !step.good; });
    pass("The kernel loads it from " + utf8(result_.file) + ", opens it and closes it.");
  }

  // An alias counts when the name itself leads to no module: then its target is what is wrong.
  bool look_behind_alias() {
    if (!result_.facts.contains("alias")) return false;
    const Json alias = result_.facts["alias"];
    const std::string name = alias["name"];
    if (name == result_.target.name) return false;
    pass("The property " + std::string(alias["path"]) + " says: open " + name + " instead.");
    DiagnosisOptions options = options_;
    options.group = alias["group"];
    result_.behind_alias.push_back(diagnose(tool_, {name, {}}, options));
    const Diagnosis& target = result_.behind_alias.back();
    result_.finding = target.finding;
    if (target.finding) {
      result_.finding->problem = "The alias leads to " + name + ". " + target.finding->problem;
    }
    return true;
  }

  void find_the_cause(const ProbeResult& trial) {
    if (!choose_file()) return;
    check_file(result_);
    if (result_.finding) return;
    const ProbeResult steps =
        run_probe(tool_, "steps", {utf8(result_.file), options_.group}, options_.limit);
    find(finding_of_trial(utf8(result_.file.filename()), trial, steps));
  }

  // The first file of that name counts, fit or not.
  bool choose_file() {
    const auto there = std::ranges::find_if(result_.candidates, [](const Candidate& candidate) {
      return candidate.state != FileState::absent;
    });
    if (there == result_.candidates.end()) {
      find(absence());
      return false;
    }
    result_.file = there->path;
    if (there->state == FileState::other) {
      find({"directory", utf8(there->path) + " is no file.",
            "Remove it, or put the module's library in its place."});
      return false;
    }
    pass("Found " + utf8(there->path) + " (" + there->where + ").");
    return true;
  }

  Finding absence() const {
    if (!result_.target.file.empty()) {
      return {"absent", "There is no file " + utf8(result_.target.file) + ".",
              "Check the name of the file."};
    }
    const std::string file = result_.target.name + std::string(kLibraryExtension);
    const std::string alike = file_of_other_case(file);
    return {"absent", "There is no " + file + " in any folder where modules are looked for.",
            alike.empty() ? "Put " + file + " beside the program, or check the name of the module."
                          : "Write the name of the module as that of its file, " + alike + "."};
  }

  // Where upper and lower case matter: the file that may have been meant.
  std::string file_of_other_case(const std::string& file) const {
    if (kOwnFormat == ImageFormat::pe) return "";
    for (const Candidate& candidate : result_.candidates) {
      std::error_code problem;
      const std::filesystem::directory_iterator end;
      std::filesystem::directory_iterator entry(candidate.path.parent_path(), problem);
      for (; !problem && entry != end; entry.increment(problem)) {
        const std::string name = utf8(entry->path().filename());
        if (lower_case(name) == lower_case(file)) return utf8(entry->path());
      }
    }
    return "";
  }

  const Tool& tool_;
  const DiagnosisOptions& options_;
  Diagnosis result_;
};

}  // namespace

Diagnosis diagnose(const Tool& tool, const Target& target, const DiagnosisOptions& options) {
  return Diagnostician(tool, target, options).run();
}

}  // namespace qmtool
