// The process as a whole.
#pragma once

namespace qmsd::platform {

// True once the system is ending the process: the other threads have been killed wherever they
// were, and libraries are cleaned up one after another. Never true natively, where threads live on
// until the very end. Takes no lock.
bool process_is_ending() noexcept;

}  // namespace qmsd::platform
