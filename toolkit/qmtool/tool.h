// What all commands share: options, the kernel, and how they end.
#pragma once

#include <filesystem>
#include <string>

#include <qm/kernel_library.hpp>

namespace qmtool {

// What the program returns to its caller.
enum ExitCode : int {
  kDone = 0,      // done; what was asked about is well
  kNegative = 1,  // the answer is no, or the kernel or a module refused
  kUsage = 2,     // the command line makes no sense
  kBroken = 3,    // the tool itself could not work
};

class Tool {
 public:
  bool json = false;
  std::string kernel_file;  // UTF-8; empty: the one that belongs to this program
  int exit_code = kDone;

  // Loaded at the first use: a module that spoils the start of the kernel, a broken property
  // module, must not spoil commands that only look at it.
  // Errors: qm::Error when the library cannot be loaded.
  qm::Kernel kernel();

 private:
  qm::KernelLibrary library_;
};

}  // namespace qmtool
