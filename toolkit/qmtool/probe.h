// Work that runs foreign code is done by this program as its own child, which sends back what it
// finds out bit by bit. A crash or a hang leaves what was sent before, the stage above all.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/system/process.h"
#include "toolkit/qmtool/tool.h"

namespace qmtool {

// The child's side.
class Report {
 public:
  explicit Report(std::uint64_t number) : number_(number) {}

  // Members that were sent before are replaced.
  void send(const Json& facts);
  // What is about to happen.
  void enter(std::string_view stage);

 private:
  std::uint64_t number_;
};

// What a child can be asked to do; its arguments are its own affair.
using ProbeTask = void (*)(const std::vector<std::string>& arguments, Tool& tool, Report& report);

// The parent's side.
struct ProbeResult {
  ChildResult child;
  Json facts;  // all that was sent

  bool has(const char* name) const;
  // Empty when no such text was sent.
  std::string text(const char* name) const;
  // The task came to its end.
  bool is_complete() const { return has("done"); }
  // "crashes (SIGSEGV)", "does not come back within 5000 ms", "ends the process with exit code 3"
  std::string how_it_ended() const;
};

ProbeResult run_probe(const Tool& tool, const std::string& task, std::vector<std::string> arguments,
                      std::chrono::milliseconds limit);

}  // namespace qmtool
