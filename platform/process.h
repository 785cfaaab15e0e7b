// The process as a whole.
#pragma once

namespace qmsd::platform {

// True from when the system ends the process: the other threads are gone by then, wherever they
// were, and libraries clean up one after another. Natively threads live on until the very end, so
// there it is never true. Enters no lock.
bool process_is_ending() noexcept;

}  // namespace qmsd::platform
