// The name of the host program, for messages and logs.
#pragma once

namespace qmsd {

// The executable's full name, so that logs tell two installations of one host apart; "NOAPP" if it
// cannot be had.
const char* application_name() noexcept;
// Reads it anew.
void capture_application_name() noexcept;

}  // namespace qmsd
