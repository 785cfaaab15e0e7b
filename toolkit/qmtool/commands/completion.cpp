// qmtool completion: a script that lets the shell complete the command line.
#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/value_types.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {
    "completion", "Print a script that completes command lines",
    "  source <(qmtool completion bash)                              for this shell\n"
    "  qmtool completion bash > /etc/bash_completion.d/qmtool        for all"};

struct Options {
  CommandSet commands;
  std::string shell;
};

constexpr const char* kScript = R"(# Completes the command lines of qmtool.
_qmtool() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local word command= words=
  for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
    case $word in
      -*) ;;
      *)
        command=$word
        break
        ;;
    esac
  done
  case $previous in
    --kernel)
      COMPREPLY=($(compgen -f -- "$current"))
      return
      ;;
    --to)
      COMPREPLY=($(compgen -W "@TYPES@" -- "$current"))
      return
      ;;
  esac
  case $command in
@COMMANDS@  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
  case $command in
    inspect | validate | call) COMPREPLY+=($(compgen -f -- "$current")) ;;
  esac
}
complete -o filenames -F _qmtool qmtool
)";

std::string joined(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
  return line;
}

std::string words_of_commands(const CommandSet& commands) {
  const auto words_case = [](const std::string& command, const std::string& words) {
    return "    " + command + ") words=\"" + words + "\" ;;\n";
  };
  std::string cases =
      words_case("''", joined(commands.names()) + " " + joined(commands.options_of("")));
  for (const std::string& name : commands.names()) {
    const std::string words = joined(commands.options_of(name));
    cases += words_case(name, name == "completion" ? words + " bash" : words);
  }
  return cases;
}

std::string names_of_types() {
  std::vector<std::string> names;
  for (const ValueType& type : value_types()) names.emplace_back(type.name);
  return joined(names);
}

void fill(std::string& script, std::string_view place, const std::string& with) {
  script.replace(script.find(place), place.size(), with);
}

int run(const Options& options, Tool& tool) {
  std::string script = kScript;
  fill(script, "@TYPES@", names_of_types());
  fill(script, "@COMMANDS@", words_of_commands(options.commands));
  if (tool.json) {
    print_json({{"shell", options.shell}, {"script", script}});
  } else {
    print_line(script.substr(0, script.size() - 1));
  }
  return kDone;
}

}  // namespace

void add_completion_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>(Options{commands, {}});
  commands.add(kText, options, &run)
      .choice(options->shell, {"shell", "SHELL", "The shell"}, {"bash"});
}

}  // namespace qmtool
