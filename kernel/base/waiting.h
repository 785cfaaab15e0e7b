// Whether threads still wait for each other.
#pragma once

namespace qmsd {

// At process exit the other threads have been killed, perhaps while they held a lock. From this
// call on, or once the system is ending the process, locks are only tried, and code under a guard
// runs whether or not the lock was free.
void give_up_waiting() noexcept;
bool waiting_given_up() noexcept;

}  // namespace qmsd
