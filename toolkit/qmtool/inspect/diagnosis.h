// Why a module does not load, step by step, and what to do about it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/qmtool/inspect/imports.h"
#include "toolkit/qmtool/inspect/target.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/tool.h"

namespace qmtool {

struct Step {
  bool good;
  std::string text;
};

// What was found wrong. `cause` is one word for programs; docs/diagnosing-modules.md has them all.
struct Finding {
  std::string cause;
  std::string problem;  // a sentence
  std::string advice;   // a sentence that says what to do
};

struct Diagnosis {
  Target target;
  std::string group;
  std::vector<Candidate> candidates;
  std::filesystem::path file;  // the one that counts; empty when there is none
  std::string kind;            // "32-bit x86 Windows library"; empty when it is none
  int bits = 0;
  std::vector<std::string> exports;
  ImportReport imports;
  Json facts;  // what the trial sent: "alias", "information", "versions", "groups", "error"
  std::vector<Step> steps;
  std::optional<Finding> finding;  // none: the module loads
  // The module that an alias leads to, when the alias decides.
  std::vector<Diagnosis> behind_alias;
};

struct DiagnosisOptions {
  std::string group;  // property group; may be empty
  std::chrono::milliseconds limit{5000};
};

Diagnosis diagnose(const Tool& tool, const Target& target, const DiagnosisOptions& options);

}  // namespace qmtool
