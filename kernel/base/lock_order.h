// The order in which the kernel's locks may be taken, and a check of it in checking builds.
// A thread may take a lock only of a higher rank than every lock it holds, and calls no module,
// loader or qm_call while it holds any.
#pragma once

namespace qmsd {

enum class LockRank : int {
  handle_table = 1,
  registry,
  variants,
  slots,
  groups,
  tracked,      // the tracked allocator: after every table
  error_texts,  // the leaf: recording an error takes it
};

#ifdef QMSD_CHECK_LOCKS
// Abort with a line on stderr when the order is broken.
void note_locked(LockRank rank) noexcept;
void note_unlocked(LockRank rank) noexcept;
void assert_no_lock_held(const char* before) noexcept;
#else
inline void note_locked(LockRank) noexcept {}
inline void note_unlocked(LockRank) noexcept {}
inline void assert_no_lock_held(const char*) noexcept {}
#endif

}  // namespace qmsd
