#include "toolkit/qmtool/probe.h"

#include <algorithm>
#include <sstream>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/inspect/trial.h"
#include "toolkit/qmtool/validate/validation.h"

namespace qmtool {
namespace {

struct NamedTask {
  const char* name;
  ProbeTask run;
};
constexpr NamedTask kTasks[] = {
    {"open", &open_by_kernel},
    {"steps", &load_step_by_step},
    {"check", &run_check},
};

struct Options {
  std::string task;
  std::vector<std::string> arguments;
  std::string report;
};

int run(const Options& options, Tool& tool) {
  const auto task = std::ranges::find(kTasks, options.task, &NamedTask::name);
  if (task == std::end(kTasks)) return kUsage;
  end_quietly_on_crash();
  Report report(std::stoull(options.report));
  task->run(options.arguments, tool, report);
  report.send({{"done", true}});
  return kDone;
}

}  // namespace

void Report::send(const Json& facts) {
  send_report(number_, facts.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

void Report::enter(std::string_view stage) { send({{"stage", stage}}); }

bool ProbeResult::has(const char* name) const { return facts.contains(name); }

std::string ProbeResult::text(const char* name) const { return facts.value(name, std::string()); }

std::string ProbeResult::how_it_ended() const {
  switch (child.ending) {
    case Ending::crashed:
      return "crashes (" + child.crash + ")";
    case Ending::timed_out:
      return "does not come back within " + std::to_string(child.lasted.count()) + " ms";
    case Ending::exited:
      break;
  }
  return "ends the process with exit code " + std::to_string(child.code);
}

ProbeResult run_probe(const Tool& tool, const std::string& task, std::vector<std::string> arguments,
                      std::chrono::milliseconds limit) {
  std::vector<std::string> command;
  if (!tool.kernel_file.empty()) command = {"--kernel", tool.kernel_file};
  command.insert(command.end(), {"probe", task});
  for (std::string& argument : arguments) {
    command.push_back("--argument");
    command.push_back(std::move(argument));
  }
  ProbeResult result{run_self(std::move(command), limit), Json::object()};
  std::istringstream lines(result.child.report);
  for (std::string line; std::getline(lines, line);) {
    const Json facts = Json::parse(line, nullptr, false);
    if (facts.is_object()) result.facts.update(facts);
  }
  return result;
}

void add_probe_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add({"probe", "", ""}, options, &run)
      .hide()
      .argument(options->task, {"task", "TASK", ""})
      .argument(options->report, {"--report", "NUMBER", ""})
      .option(options->arguments, {"--argument", "TEXT", ""});
}

}  // namespace qmtool
