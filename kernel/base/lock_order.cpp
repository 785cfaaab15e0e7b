// The check of the lock order. A thread holds at most one lock of each rank, so a word with one bit
// for each rank records all that it holds.
#include "kernel/base/lock_order.h"

#ifdef QMSD_CHECK_LOCKS

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace qmsd {
namespace {

thread_local std::uint32_t t_held = 0;

std::uint32_t bit_of(LockRank rank) { return std::uint32_t{1} << static_cast<int>(rank); }

[[noreturn]] void report(const char* event, const char* detail) {
  std::fprintf(stderr, "lock order broken: %s %s, held ranks (bits): %#x\n", event, detail,
               static_cast<unsigned>(t_held));
  std::abort();
}

[[noreturn]] void report(const char* event, LockRank rank) {
  char name[16];
  std::snprintf(name, sizeof name, "rank %d", static_cast<int>(rank));
  report(event, name);
}

}  // namespace

void note_locked(LockRank rank) noexcept {
  if (t_held >= bit_of(rank)) report("taking", rank);
  t_held |= bit_of(rank);
}

void note_unlocked(LockRank rank) noexcept {
  if ((t_held & bit_of(rank)) == 0) report("leaving", rank);
  t_held &= ~bit_of(rank);
}

void assert_no_lock_held(const char* before) noexcept {
  if (t_held != 0) report("reaching", before);
}

}  // namespace qmsd

#endif
