// How a command is declared: its name, options and examples, and the function that runs it. The
// library that reads command lines is known to command_line.cpp alone.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "toolkit/qmtool/tool.h"

namespace CLI {
class App;
}

namespace qmtool {

struct CommandText {
  const char* name;
  const char* summary;   // one line, for the list of commands
  const char* examples;  // shown below the options
};

struct OptionText {
  const char* name;  // "--group"; of an argument, "module"
  const char* type;  // "NAME": what is to be written there
  const char* help;
};

// Thrown by a command whose arguments make no sense, beyond what can be declared.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The references are to the options that the command's function gets.
class Command {
 public:
  explicit Command(CLI::App& parser) : parser_(parser) {}

  Command& argument(std::string& value, const OptionText& text);           // must be given
  Command& optional_argument(std::string& value, const OptionText& text);  // may be given
  Command& arguments(std::vector<std::string>& values, const OptionText& text);
  Command& option(std::string& value, const OptionText& text);
  Command& option(std::vector<std::string>& values, const OptionText& text);
  Command& option(int& value, const OptionText& text, int lowest, int highest);
  Command& choice(std::string& value, const OptionText& text,
                  const std::vector<std::string>& among);
  Command& flag(bool& value, const char* name, const char* help);
  Command& hide();

 private:
  CLI::App& parser_;
};

class CommandSet {
 public:
  CommandSet(CLI::App& parser, Tool& tool) : parser_(parser), tool_(tool) {}

  // Adds a command whose `run` returns the exit code.
  template <class Options>
  Command add(const CommandText& text, const std::shared_ptr<Options>& options,
              int (*run)(const Options&, Tool&)) {
    return add(text, [options, run, &tool = tool_] { tool.exit_code = run(*options, tool); });
  }

  // What a shell may complete: the names of all commands, and the options of one ("" is none).
  std::vector<std::string> names() const;
  std::vector<std::string> options_of(const std::string& command) const;

 private:
  Command add(const CommandText& text, std::function<void()> run);

  CLI::App& parser_;
  Tool& tool_;
};

void add_list_command(CommandSet& commands);
void add_inspect_command(CommandSet& commands);
void add_validate_command(CommandSet& commands);
void add_call_command(CommandSet& commands);
void add_property_commands(CommandSet& commands);
void add_groups_command(CommandSet& commands);
void add_errors_command(CommandSet& commands);
void add_convert_command(CommandSet& commands);
void add_date_command(CommandSet& commands);
void add_bench_command(CommandSet& commands);
void add_completion_command(CommandSet& commands);
// Not for people: what this program starts itself for.
void add_probe_command(CommandSet& commands);

// Reads the arguments, in UTF-8 and without the program's name, and runs the command they name.
int run_command_line(std::vector<std::string> arguments);

}  // namespace qmtool
