// qmtool validate: does a module keep to the contract?
#include <algorithm>
#include <thread>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/validation.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {
    "validate", "Check whether a module keeps to the contract",
    "  qmtool validate exgreeter\n"
    "  qmtool validate ./exgreeter.so --check memory      one group of checks\n"
    "  qmtool validate exgreeter --codes 0x12010000-0x1201000f\n"
    "  qmtool validate --list                             what is checked\n"
    "Ends with 1 when a check fails; warnings do not count. Every check runs in a process of its "
    "own."};

struct Options {
  SubjectOptions subject;
  std::vector<std::string> checks;
  bool list = false;
  bool quiet = false;
  int limit = 10000;
  int jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
};

// "open" means all whose names begin with "open.".
bool is_chosen(const Check& check, const std::vector<std::string>& names) {
  const std::string_view name = check.name;
  return names.empty() || std::ranges::any_of(names, [&](const std::string& wanted) {
           return name == wanted || name.starts_with(wanted + ".");
         });
}

std::vector<const Check*> choose(const std::vector<std::string>& names) {
  std::vector<const Check*> chosen;
  for (const Check* check : all_checks()) {
    if (is_chosen(*check, names)) chosen.push_back(check);
  }
  if (chosen.empty()) throw UsageError("there is no such check; \"qmtool validate --list\"");
  return chosen;
}

const char* name_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::passed:
      return "passed";
    case Verdict::warned:
      return "warning";
    case Verdict::failed:
      return "FAILED";
    case Verdict::skipped:
      break;
  }
  return "skipped";
}

bool asks_for_change(const CheckResult& result) {
  return result.verdict == Verdict::failed || result.verdict == Verdict::warned;
}

std::ptrdiff_t count(const std::vector<CheckResult>& results, Verdict verdict) {
  return std::ranges::count(results, verdict, &CheckResult::verdict);
}

std::string summary_of(const std::vector<CheckResult>& results) {
  const auto part = [&](Verdict verdict, const char* word) {
    return std::to_string(count(results, verdict)) + " " + word;
  };
  return part(Verdict::passed, "passed, ") + part(Verdict::failed, "failed, ") +
         part(Verdict::warned, "warned, ") + part(Verdict::skipped, "skipped");
}

void print(const std::vector<CheckResult>& results, const Options& options) {
  Table table({"RESULT", "CHECK", "WHAT A GOOD MODULE DOES"});
  for (const CheckResult& result : results) {
    if (options.quiet && !asks_for_change(result)) continue;
    const bool says_why = result.verdict == Verdict::skipped;
    table.add({name_of(result.verdict), result.check->name,
               result.check->title + (says_why ? " (" + result.seen + ")" : "")});
  }
  if (!table.empty()) table.print();
  for (const CheckResult& result : results) {
    if (!asks_for_change(result)) continue;
    print_line();
    print_line(std::string(result.check->name) + ": " + result.seen + ".");
    print_line("  " + std::string(result.check->advice));
  }
  if (!table.empty()) print_line();
  print_line(options.subject.module + ": " + summary_of(results));
}

Json json_of(const std::vector<CheckResult>& results, const Options& options) {
  Json checks = Json::array();
  for (const CheckResult& result : results) {
    Json json = {{"name", result.check->name},
                 {"title", result.check->title},
                 {"result", lower_case(name_of(result.verdict))},
                 {"milliseconds", result.lasted.count()}};
    if (!result.seen.empty()) json["seen"] = result.seen;
    if (asks_for_change(result)) json["advice"] = result.check->advice;
    checks.push_back(std::move(json));
  }
  return {{"module", options.subject.module},
          {"checks", checks},
          {"passed", count(results, Verdict::passed)},
          {"failed", count(results, Verdict::failed)},
          {"warnings", count(results, Verdict::warned)},
          {"skipped", count(results, Verdict::skipped)}};
}

int list_checks(const std::vector<const Check*>& checks, const Tool& tool) {
  Json list = Json::array();
  Table table({"CHECK", "WHAT A GOOD MODULE DOES"});
  for (const Check* check : checks) {
    list.push_back({{"name", check->name}, {"title", check->title}, {"advice", check->advice}});
    table.add({check->name, check->title});
  }
  if (tool.json) {
    print_json(list);
  } else {
    table.print();
  }
  return kDone;
}

int run(const Options& options, Tool& tool) {
  const std::vector<const Check*> checks = choose(options.checks);
  if (options.list) return list_checks(checks, tool);
  if (options.subject.module.empty()) throw UsageError("MODULE|FILE is required");
  const auto results =
      validate(tool, {options.subject, checks, std::chrono::milliseconds(options.limit),
                      static_cast<unsigned>(options.jobs)});
  if (tool.json) {
    print_json(json_of(results, options));
  } else {
    print(results, options);
  }
  return count(results, Verdict::failed) == 0 ? kDone : kNegative;
}

}  // namespace

void add_validate_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  SubjectOptions& subject = options->subject;
  commands.add(kText, options, &run)
      .optional_argument(subject.module, {"module", "MODULE|FILE", "Name of a module, or its file"})
      .option(subject.group, {"--group", "NAME", "Property group to open it with"})
      .option(subject.codes,
              {"--codes", "FIRST-LAST", "The module's own function codes, to try without a record"})
      .option(options->checks, {"--check", "NAME", "Only this check or group; may be repeated"})
      .option(options->limit, {"--limit", "MS", "Longest time for one check, in milliseconds"}, 1,
              600000)
      .option(options->jobs, {"--jobs", "COUNT", "How many checks run at once"}, 1, 64)
      .flag(options->quiet, "--quiet", "Show only what asks for a change")
      .flag(options->list, "--list", "List the checks instead");
}

}  // namespace qmtool
