// A readers-writer lock that may be used, and abandoned, after static destructors have run.
#pragma once

#include <shared_mutex>

namespace qmproperty {

using SharedLock = std::shared_mutex;

}  // namespace qmproperty
