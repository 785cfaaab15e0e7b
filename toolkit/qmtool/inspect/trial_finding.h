// What the trials of a module that does not load mean.
#pragma once

#include <string>

#include "toolkit/qmtool/inspect/diagnosis.h"
#include "toolkit/qmtool/probe.h"

namespace qmtool {

// `by_kernel` is the kernel's attempt, `steps` the one that shows where it fails.
Finding finding_of_trial(const std::string& file, const ProbeResult& by_kernel,
                         const ProbeResult& steps);

}  // namespace qmtool
