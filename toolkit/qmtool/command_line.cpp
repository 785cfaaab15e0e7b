// Reading of command lines, and how the program ends.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"

namespace qmtool {
namespace {

constexpr const char* kFooter =
    "Examples:\n"
    "  qmtool inspect exgreeter      why does it not load?\n"
    "  qmtool validate exgreeter     does it keep to the contract?\n"
    "  qmtool --json list 'ex*'      which modules are there?\n"
    "\n"
    "Exit codes:\n"
    "  0  done; what was asked about is well\n"
    "  1  the answer is no, or the kernel or a module refused\n"
    "  2  the command line makes no sense\n"
    "  3  the tool itself could not work\n"
    "\n"
    "\"qmtool COMMAND --help\" shows options and examples of a command.";

template <class Value>
CLI::Option& add_option(CLI::App& parser, Value& value, const OptionText& text) {
  return *parser.add_option(text.name, value, text.help)->type_name(text.type);
}

void declare(CLI::App& parser, Tool& tool) {
  parser.require_subcommand(1);
  parser.allow_windows_style_options(false);  // what begins with a slash is a property
  parser.footer(kFooter);
  parser.set_version_flag("--version", "qmtool " QMTOOL_VERSION);
  add_option(parser, tool.kernel_file,
             {"--kernel", "FILE", "Kernel library to use instead of the tool's own"});
  parser.add_flag("--json", tool.json, "Print JSON");
  CommandSet commands(parser, tool);
  for (const auto add :
       {add_list_command, add_inspect_command, add_validate_command, add_call_command,
        add_property_commands, add_groups_command, add_errors_command, add_convert_command,
        add_date_command, add_bench_command, add_completion_command, add_probe_command}) {
    add(commands);
  }
}

void report_json(std::int32_t code, std::string_view text) {
  print_json({{"error", {{"code", code}, {"message", text}}}});
}

int report_failure(const Tool& tool, int exit_code, std::int32_t code, std::string_view text) {
  if (tool.json) report_json(code, text);
  std::cerr << "qmtool: ";
  if (code != 0) std::cerr << "error " << code << ": ";
  std::cerr << text << '\n';
  return exit_code;
}

// Whether or not the rest can be understood.
bool asks_for_json(const std::vector<std::string>& arguments) {
  const auto end_of_options = std::ranges::find(arguments, "--");
  return std::find(arguments.begin(), end_of_options, "--json") != end_of_options;
}

std::string where_help_is(const CLI::App& parser) {
  const auto commands = parser.get_subcommands();
  const std::string command = commands.empty() ? "" : commands.front()->get_name() + " ";
  return "; \"qmtool " + command + "--help\" tells more";
}

std::vector<std::string> options_of_parser(const CLI::App& parser) {
  std::vector<std::string> names;
  for (const CLI::Option* option : parser.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

}  // namespace

Command& Command::argument(std::string& value, const OptionText& text) {
  add_option(parser_, value, text).required();
  return *this;
}

Command& Command::optional_argument(std::string& value, const OptionText& text) {
  add_option(parser_, value, text);
  return *this;
}

Command& Command::arguments(std::vector<std::string>& values, const OptionText& text) {
  add_option(parser_, values, text);
  return *this;
}

Command& Command::option(std::string& value, const OptionText& text) {
  add_option(parser_, value, text).capture_default_str();
  return *this;
}

Command& Command::option(std::vector<std::string>& values, const OptionText& text) {
  add_option(parser_, values, text).allow_extra_args(false);
  return *this;
}

Command& Command::option(int& value, const OptionText& text, int lowest, int highest) {
  add_option(parser_, value, text).capture_default_str()->check(CLI::Range(lowest, highest));
  return *this;
}

Command& Command::choice(std::string& value, const OptionText& text,
                         const std::vector<std::string>& among) {
  add_option(parser_, value, text).required()->check(CLI::IsMember(among));
  return *this;
}

Command& Command::flag(bool& value, const char* name, const char* help) {
  parser_.add_flag(name, value, help);
  return *this;
}

Command& Command::hide() {
  parser_.group("");
  return *this;
}

Command CommandSet::add(const CommandText& text, std::function<void()> run) {
  CLI::App& parser = *parser_.add_subcommand(text.name, text.summary);
  parser.footer(std::string("Examples:\n") + text.examples);
  parser.add_flag("--json", tool_.json, "Print JSON");
  parser.callback(std::move(run));
  return Command(parser);
}

std::vector<std::string> CommandSet::names() const {
  std::vector<std::string> names;
  for (const CLI::App* command : parser_.get_subcommands({})) {
    if (!command->get_group().empty()) names.push_back(command->get_name());
  }
  return names;
}

std::vector<std::string> CommandSet::options_of(const std::string& command) const {
  return options_of_parser(command.empty() ? parser_ : *parser_.get_subcommand(command));
}

int run_command_line(std::vector<std::string> arguments) {
  Tool tool;
  CLI::App parser("Looks at modules, tries them out, and asks the kernel.", "qmtool");
  declare(parser, tool);
  const bool wants_json = asks_for_json(arguments);
  std::ranges::reverse(arguments);  // the parser takes them from the back
  try {
    parser.parse(std::move(arguments));
    return tool.exit_code;
  } catch (const CLI::ParseError& message) {
    if (message.get_exit_code() == 0) return parser.exit(message);  // help was asked for
    tool.json = wants_json;
    return report_failure(tool, kUsage, 0, message.what() + where_help_is(parser));
  } catch (const UsageError& problem) {
    return report_failure(tool, kUsage, 0, problem.what());
  } catch (const qm::Error& error) {
    return report_failure(tool, kNegative, error.code(), error.text());
  } catch (const std::exception& error) {
    return report_failure(tool, kBroken, 0, error.what());
  }
}

}  // namespace qmtool
