// Whether threads still wait for each other.
#pragma once

namespace qmsd {

// At process exit the other threads are gone, perhaps from inside a lock: from this call on, and
// once the system ends the process, every lock is taken by a try, and its guard goes on whether or
// not it was free.
void give_up_waiting() noexcept;
bool waiting_given_up() noexcept;

}  // namespace qmsd
