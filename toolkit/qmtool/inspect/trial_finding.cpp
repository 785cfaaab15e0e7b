#include "toolkit/qmtool/inspect/trial_finding.h"

#include <algorithm>

namespace qmtool {
namespace {

struct Stage {
  const char* name;
  const char* when;    // "... while"
  const char* advice;  // when it crashes, hangs or ends the process
};
constexpr Stage kStages[] = {
    {"kernel", "while the kernel is loaded",
     "Try the property module with \"qmtool inspect qmproperty\": the kernel uses it at its "
     "start."},
    {"load", "while it is loaded",
     "Mend the module's load routine and the constructors of its static objects; do no more there "
     "than set variables."},
    {"information", "while it is asked for its information record",
     "Mend how the module answers 0x10030004."},
    {"notice", "while it is told the kernel's entry",
     "Mend how the module answers 0x1003FFFF: keep the entry, and open no modules there."},
    {"open", "while an instance is opened", "Mend how the module answers 0x10030000."},
    {"close", "while its instance is closed", "Mend how the module answers 0x10030002."},
    {"unload", "while it is unloaded",
     "Mend the module's unload routine and the destructors of its static objects; threads of its "
     "own "
     "have to end before."},
};

struct Refusal {
  const char* cause;
  const char* problem;  // follows the file's name; "%" is what the trial adds
  const char* advice;
};
constexpr Refusal kRefusals[] = {
    {"load-refused", " is refused by the system's loader: %.",
     "Follow the loader's words; when its load routine refuses, see what that routine needs."},
    {"no-information", " exports no qmmoduleinfo.",
     "Define and export the information record qmmoduleinfo."},
    {"foreign-identifier", " has an information record with the unknown identifier %.",
     "Put QM_MODULE_ID, 0x716D0000, into the first field of qmmoduleinfo."},
    {"information-refused", " refuses to tell about itself (0x10030004 returns 0).",
     "Answer 0x10030004 with 1 and the information record."},
    {"information-empty", " answers 0x10030004 without an information record.",
     "Put the address of the information record into the caller's record."},
    {"no-entry", " has an information record without a call entry.",
     "Put the module's call entry into the last field of qmmoduleinfo."},
    {"calling-convention", " has a call entry that leaves the stack % bytes off.",
     "Declare the entry QM_STDCALL, and do not cast it to the type of the record's last field."},
    {"open-refused", " refuses to open an instance: %.",
     "See what the module needs to open an instance; the message is its own."},
};

const Stage& stage_named(const std::string& name) {
  const auto found =
      std::ranges::find_if(kStages, [&](const Stage& stage) { return stage.name == name; });
  return found != std::end(kStages) ? *found : kStages[0];
}

std::string ending_of(const ChildResult& child) {
  switch (child.ending) {
    case Ending::crashed:
      return "-crashes";
    case Ending::timed_out:
      return "-hangs";
    case Ending::exited:
      break;
  }
  return "-ends-process";
}

Finding finding_of_ending(const std::string& file, const ProbeResult& trial) {
  const Stage& stage = stage_named(trial.text("stage"));
  return {stage.name + ending_of(trial.child),
          file + " " + trial.how_it_ended() + " " + stage.when + ".", stage.advice};
}

Finding finding_of_refusal(const std::string& file, const Json& refusal) {
  const std::string cause = refusal["cause"];
  const auto row = std::ranges::find_if(
      kRefusals, [&](const Refusal& candidate) { return candidate.cause == cause; });
  std::string problem = file + row->problem;
  const std::size_t place = problem.find('%');
  if (place != std::string::npos) problem.replace(place, 1, std::string(refusal["words"]));
  return {cause, problem, row->advice};
}

}  // namespace

Finding finding_of_trial(const std::string& file, const ProbeResult& by_kernel,
                         const ProbeResult& steps) {
  if (!steps.is_complete()) return finding_of_ending(file, steps);
  if (steps.has("refusal")) return finding_of_refusal(file, steps.facts["refusal"]);
  if (!by_kernel.is_complete()) return finding_of_ending(file, by_kernel);
  return {"kernel-refuses",
          "The kernel refuses " + file + ": " +
              by_kernel.facts["error"].value("message", std::string()),
          "Follow the words of the kernel."};
}

}  // namespace qmtool
