// Loading and opening a module for real, in a child process.
#pragma once

#include <string>
#include <vector>

#include "toolkit/qmtool/probe.h"

namespace qmtool {

// NAME GROUP: opens and closes the module as a program would. Sends "alias" (what the property
// store has for the name), then "opened", "file", "information", "versions" and "groups", or
// "error" with "code" and "message".
void open_by_kernel(const std::vector<std::string>& arguments, Tool& tool, Report& report);

// FILE GROUP: does by itself what the kernel does with a library, and enters the stages "load",
// "information", "notice", "open", "close" and "unload". Sends "refusal" and ends when one fails.
void load_step_by_step(const std::vector<std::string>& arguments, Tool& tool, Report& report);

}  // namespace qmtool
