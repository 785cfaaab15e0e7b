// The system's words for its error codes.
#pragma once

#include <string>

namespace qmtool {

std::string error_text(unsigned long code);

}  // namespace qmtool
