// This program again, as a child that may crash or hang without harm.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmtool {

enum class Ending { exited, crashed, timed_out };

struct ChildResult {
  Ending ending = Ending::exited;
  int code = 0;        // of an exit
  std::string crash;   // "access violation", "SIGSEGV", ...
  std::string report;  // what the child wrote, whatever came of it
  std::chrono::milliseconds lasted{};
};

// Runs this program with these arguments and "--report NUMBER" behind them. Its standard streams
// lead nowhere. May be called from several threads at once.
// Errors: std::system_error when no process can be started.
ChildResult run_self(std::vector<std::string> arguments, std::chrono::milliseconds limit);

// In the child: sends a piece of the report. All pieces together must stay below 32 KiB.
void send_report(std::uint64_t number, std::string_view piece);
// Ends the process without the clean-up of anybody.
[[noreturn]] void end_at_once();
// In the child: a crash ends the process at once, without a dialog, a debugger or a core file.
void end_quietly_on_crash();
// A loader may take a crash of the code that it runs for a refusal, or pass over it. Once it is
// back, the crash ends the child after all; nothing is noted in other processes.
void forget_crash();
void end_if_crashed();

}  // namespace qmtool
