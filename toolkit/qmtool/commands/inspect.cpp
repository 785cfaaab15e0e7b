// qmtool inspect: what a module is, and why it does not load.
#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/inspect/diagnosis.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {
    "inspect", "Show what a module is, or why it does not load",
    "  qmtool inspect exgreeter            by the name that programs open it by\n"
    "  qmtool inspect ./exgreeter.so       a file\n"
    "  qmtool inspect viewer --group fast  with the property group of an alias\n"
    "  qmtool inspect exgreeter --json\n"
    "Ends with 1 when the module does not load."};

struct Options {
  std::string module;
  std::string group;
  int limit = 5000;
};

const char* name_of(FileState state) {
  switch (state) {
    case FileState::absent:
      return "not there";
    case FileState::file:
      return "there";
    case FileState::other:
      break;
  }
  return "no file";
}

Json json_of(const ImportReport& imports) {
  Json list = Json::array();
  for (const FoundImport& import : imports.found) {
    list.push_back({{"library", import.library}, {"file", utf8(import.file)}});
  }
  for (const ImportProblem& problem : imports.problems) {
    if (problem.kind != ImportProblem::Kind::function) {
      list.push_back({{"library", problem.library}, {"wanted_by", problem.wanted_by}});
    }
  }
  return list;
}

Json json_of(const Diagnosis& diagnosis) {
  Json json = {{"module", diagnosis.target.name}, {"loads", !diagnosis.finding.has_value()}};
  for (const Candidate& candidate : diagnosis.candidates) {
    json["tried"].push_back({{"file", utf8(candidate.path)},
                             {"where", candidate.where},
                             {"state", name_of(candidate.state)}});
  }
  if (!diagnosis.file.empty()) json["file"] = utf8(diagnosis.file);
  if (!diagnosis.kind.empty()) {
    json["kind"] = diagnosis.kind;
    json["bits"] = diagnosis.bits;
    json["exports"] = diagnosis.exports;
    json["imports"] = json_of(diagnosis.imports);
  }
  for (const char* fact : {"information", "versions", "alias", "groups", "error"}) {
    if (diagnosis.facts.contains(fact)) json[fact] = diagnosis.facts[fact];
  }
  for (const Step& step : diagnosis.steps) {
    json["steps"].push_back({{"ok", step.good}, {"text", step.text}});
  }
  for (const Diagnosis& target : diagnosis.behind_alias) json["behind_alias"] = json_of(target);
  if (diagnosis.finding) {
    json["cause"] = diagnosis.finding->cause;
    json["problem"] = diagnosis.finding->problem;
    json["advice"] = diagnosis.finding->advice;
  }
  return json;
}

std::string listed(const std::vector<std::string>& texts) {
  constexpr std::size_t kMost = 12;
  std::string line;
  for (std::size_t i = 0; i < texts.size() && i < kMost; ++i)
    line += (i > 0 ? ", " : "") + texts[i];
  if (texts.size() > kMost) line += ", and " + std::to_string(texts.size() - kMost) + " more";
  return line.empty() ? "nothing" : line;
}

std::string imported(const ImportReport& imports) {
  std::vector<std::string> names;
  for (const FoundImport& import : imports.found) names.push_back(import.library);
  for (const ImportProblem& problem : imports.problems) {
    if (problem.kind == ImportProblem::Kind::missing)
      names.push_back(problem.library + " (missing)");
    if (problem.kind == ImportProblem::Kind::unfit) names.push_back(problem.library + " (unfit)");
  }
  return listed(names);
}

class Sheet {
 public:
  void add(const std::string& head, const std::string& text) {
    print_line("  " + head + std::string(13 - head.size(), ' ') + text);
  }
};

void print_facts(const Diagnosis& diagnosis) {
  Sheet sheet;
  const Json& facts = diagnosis.facts;
  if (facts.contains("alias")) {
    const Json& alias = facts["alias"];
    sheet.add("alias", std::string(alias["path"]) + " = " + std::string(alias["value"]));
  }
  if (!diagnosis.file.empty()) sheet.add("file", utf8(diagnosis.file));
  if (!diagnosis.kind.empty()) {
    sheet.add("kind", diagnosis.kind);
    sheet.add("exports", listed(diagnosis.exports));
    sheet.add("imports", imported(diagnosis.imports));
  }
  if (facts.contains("information")) {
    const Json& information = facts["information"];
    sheet.add("information", "version " + std::string(information["version"]) + ", " +
                                 information.value("description", std::string("no description")));
  }
  if (facts.contains("versions")) {
    for (const Json& pair : facts["versions"]) {
      sheet.add("", std::string(pair[0]) + " = " + std::string(pair[1]));
    }
  }
  if (facts.contains("groups")) {
    for (const Json& group : facts["groups"]) sheet.add("group", hexadecimal(group, 4));
  }
}

void print_tried(const Diagnosis& diagnosis) {
  for (const Candidate& candidate : diagnosis.candidates) {
    print_line("  tried  " + utf8(candidate.path) + " (" + candidate.where +
               "): " + name_of(candidate.state));
  }
}

void print(const Diagnosis& diagnosis) {
  print_line(diagnosis.target.name);
  print_facts(diagnosis);
  print_line();
  if (diagnosis.finding && diagnosis.behind_alias.empty()) print_tried(diagnosis);
  for (const Step& step : diagnosis.steps) {
    print_line((step.good ? "  ok     " : "  WRONG  ") + step.text);
  }
  print_line();
  for (const Diagnosis& target : diagnosis.behind_alias) print(target);
}

int run(const Options& options, Tool& tool) {
  const DiagnosisOptions how{options.group, std::chrono::milliseconds(options.limit)};
  const Diagnosis diagnosis = diagnose(tool, target_of(options.module), how);
  const auto& finding = diagnosis.finding;
  if (tool.json) {
    print_json(json_of(diagnosis));
  } else {
    print(diagnosis);
    const std::string& name = diagnosis.target.name;
    if (!finding) {
      print_line(name + " loads.");
    } else {
      print_line(name + " does not load (" + finding->cause + "). " + finding->problem);
      print_line("What to do: " + finding->advice);
    }
  }
  return finding ? kNegative : kDone;
}

}  // namespace

void add_inspect_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kText, options, &run)
      .argument(options->module, {"module", "MODULE|FILE", "Name of a module, or its file"})
      .option(options->group, {"--group", "NAME", "Property group to open it with"})
      .option(options->limit, {"--limit", "MS", "Longest time for one attempt, in milliseconds"}, 1,
              600000);
}

}  // namespace qmtool
