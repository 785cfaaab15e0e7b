// What all commands have in common: help, exit codes, the kernel, completion.
#include <cstdlib>

#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class CommandLine : public ToolTest {};

constexpr const char* kCommands[] = {"list", "inspect", "validate",  "call",   "get",
                                     "set",  "remove",  "groups",    "errors", "convert",
                                     "date", "bench",   "completion"};

TEST_F(CommandLine, HelpNamesEveryCommand) {
  const ProgramRun help = run({"--help"});
  EXPECT_EQ(help.exit_code, 0);
  for (const char* command : kCommands) {
    EXPECT_NE(help.output.find(std::string("\n  ") + command + " "), std::string::npos) << command;
  }
  EXPECT_EQ(help.output.find("probe"), std::string::npos);
  EXPECT_NE(help.output.find("\nExamples:\n  qmtool "), std::string::npos);
  EXPECT_NE(help.output.find("\nExit codes:\n  0 "), std::string::npos);
}

TEST_F(CommandLine, HelpOfEveryCommandHasExamples) {
  for (const char* command : kCommands) {
    const ProgramRun help = run({command, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_NE(help.output.find("Examples:\n  "), std::string::npos) << help.output;
    EXPECT_NE(help.output.find(std::string("qmtool ") + command), std::string::npos);
    EXPECT_NE(help.output.find("--json"), std::string::npos);
  }
}

TEST_F(CommandLine, MistakesEndWithTwo) {
  EXPECT_EQ(run({}).exit_code, 2);
  EXPECT_EQ(run({"nonsense"}).exit_code, 2);
  EXPECT_EQ(run({"inspect"}).exit_code, 2);
  EXPECT_EQ(run({"groups", "--nonsense"}).exit_code, 2);
  EXPECT_EQ(run({"inspect", "x", "--limit", "0"}).exit_code, 2);
}

TEST_F(CommandLine, MistakesAreToldWithTheHelpToRead) {
  const std::string errors = run({"inspect"}).errors;
  EXPECT_TRUE(errors.starts_with("qmtool: ")) << errors;
  EXPECT_NE(errors.find("\"qmtool inspect --help\" tells more"), std::string::npos) << errors;
  EXPECT_NE(run({"nonsense"}).errors.find("\"qmtool --help\" tells more"), std::string::npos);
}

TEST_F(CommandLine, VersionIsTheKernels) {
  EXPECT_EQ(run({"--version"}).output, "qmtool 7.3.1.29\n");
}

TEST_F(CommandLine, TheKernelCanBeNamed) {
  const auto other = folder() / library("other_kernel");
  std::filesystem::rename(folder() / QMTOOL_KERNEL_NAME, other);
  EXPECT_EQ(run({"--kernel", other.string(), "call", "kernel", "NOP"}).exit_code, 0);
  install("exgreeter");
  EXPECT_EQ(run({"--kernel", other.string(), "inspect", "exgreeter"}).exit_code, 0);
}

TEST_F(CommandLine, AMissingKernelIsAnError) {
  const Json document = json({"--kernel", "nosuchkernel", "groups"}, 1);
  EXPECT_EQ(document["error"]["code"], 0x1000);
  EXPECT_NE(std::string(document["error"]["message"]).find("nosuchkernel"), std::string::npos);
}

TEST_F(CommandLine, JsonMayStandBeforeAndBehindTheCommand) {
  EXPECT_TRUE(Json::accept(run({"--json", "groups"}).output));
  EXPECT_TRUE(Json::accept(run({"groups", "--json"}).output));
}

TEST_F(CommandLine, EveryCommandPrintsJson) {
  install_store("[a]\nb = \"c\"\n");
  const struct {
    Arguments arguments;
    int exit_code;
  } kRows[] = {
      {{"list"}, 0},
      {{"list", "/a"}, 0},
      {{"list", "/none"}, 1},
      {{"inspect", "qmproperty"}, 0},
      {{"inspect", "none"}, 1},
      {{"validate", "qmproperty", "--check", "file.fits"}, 0},
      {{"validate", "none", "--check", "file.fits"}, 1},
      {{"validate", "--list"}, 0},
      {{"call", "kernel", "NOP"}, 0},
      {{"call", "none", "NOP"}, 1},
      {{"set", "/a/d", "e"}, 0},
      {{"get", "/a/d"}, 0},
      {{"remove", "/a/d"}, 0},
      {{"get", "/a/d"}, 1},
      {{"groups"}, 0},
      {{"errors", "2"}, 0},
      {{"convert", "5", "--to", "u8"}, 0},
      {{"convert", "5", "--to", "none"}, 2},
      {{"date", "2024-02-29"}, 0},
      {{"date", "some day"}, 1},
      {{"bench", "--time", "10"}, 0},
      {{"completion", "bash"}, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.arguments.front());
    EXPECT_FALSE(json(row.arguments, row.exit_code).empty());
  }
}

TEST_F(CommandLine, MistakesAreJsonWhenItIsWanted) {
  for (const Arguments& arguments : {Arguments{"nonsense"}, Arguments{"inspect"},
                                     Arguments{"call", "kernel", "NOP", "no-field"}}) {
    const Json document = json(arguments, 2);
    EXPECT_EQ(document["error"]["code"], 0);
    EXPECT_NE(document["error"]["message"], "");
  }
}

#ifndef _WIN32
// What the shell proposes for the last of these words.
std::vector<std::string> completions(const std::filesystem::path& tool, const std::string& words) {
  const auto file = tool.parent_path() / "completions";
  const std::string script =
      "source <(\"" + tool.string() + "\" completion bash); COMP_WORDS=(" + words +
      "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qmtool; printf '%s\\n' \"${COMPREPLY[@]}\" >'" +
      file.string() + "'";
  const ProgramRun shell = run_program("/bin/bash", {"-c", script});
  EXPECT_EQ(shell.exit_code, 0) << shell.errors;
  std::vector<std::string> proposals;
  std::istringstream lines(content_of(file));
  for (std::string line; std::getline(lines, line);) proposals.push_back(line);
  return proposals;
}

TEST_F(CommandLine, CompletionKnowsCommandsOptionsAndTypes) {
  EXPECT_EQ(completions(tool(), "qmtool ins"), std::vector<std::string>{"inspect"});
  EXPECT_EQ(completions(tool(), "qmtool validate --q"), std::vector<std::string>{"--quiet"});
  EXPECT_EQ(completions(tool(), "qmtool convert 5 --to da"), std::vector<std::string>{"date"});
  EXPECT_EQ(completions(tool(), "qmtool completion b"), std::vector<std::string>{"bash"});
}
#endif

TEST_F(CommandLine, CompletionIsTheSameScriptEverywhere) {
  const ProgramRun script = run({"completion", "bash"});
  EXPECT_EQ(script.exit_code, 0);
  EXPECT_TRUE(script.output.ends_with("complete -o filenames -F _qmtool qmtool\n"));
  EXPECT_EQ(script.output.find('@'), script.output.find("@]"));
}

}  // namespace
}  // namespace qmtool_test
