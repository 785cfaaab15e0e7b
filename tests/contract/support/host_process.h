// Runs the host program in a process of its own, in the test's current directory and environment.
#pragma once

#include <chrono>
#include <string>

namespace contract {

struct HostResult {
  int exit_code;  // of the process; -1 when it had to be ended
  std::chrono::milliseconds lasted;
};

HostResult run_host(const std::string& scenario, std::chrono::seconds limit);

}  // namespace contract
