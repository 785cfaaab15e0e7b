// Runs checks, each in a process of its own, so that a crash or a hang is a result.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "toolkit/qmtool/probe.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {

enum class Verdict { passed, warned, failed, skipped };

struct CheckResult {
  const Check* check;
  Verdict verdict;
  std::string seen;  // of a failure: what; of a skipped check: why
  std::chrono::milliseconds lasted{};
};

struct ValidationOptions {
  SubjectOptions subject;
  std::vector<const Check*> checks;
  std::chrono::milliseconds limit;  // for one check
  unsigned jobs;                    // how many run at once; at least 1
};

// The results are in the order of the checks. Where a check fails on which others rest, these are
// skipped.
std::vector<CheckResult> validate(const Tool& tool, const ValidationOptions& options);

// The child's side: NAME MODULE GROUP CODES. Sends "failure" or "skipped" when it is not passed.
void run_check(const std::vector<std::string>& arguments, Tool& tool, Report& report);

}  // namespace qmtool
