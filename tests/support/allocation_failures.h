// Lets a scenario meet every way in which memory can run out. Only what the calling thread
// allocates through platform/heap.h is counted; other threads are never refused.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

#include "platform/heap.h"
#include "platform/test_hooks.h"

namespace qmsd::test {

enum class Shortage { once, from_then_on, throws };

namespace allocation_failures {

struct Plan {
  int refuse_at;  // the first allocation that fails, counted from 1; 0: none
  Shortage shortage;
  int seen;
  int refused;
};

inline thread_local Plan plan{};

inline bool gate(std::size_t) {
  if (plan.refuse_at == 0) return true;
  ++plan.seen;
  const bool refuse = plan.shortage == Shortage::from_then_on ? plan.seen >= plan.refuse_at
                                                              : plan.seen == plan.refuse_at;
  if (!refuse) return true;
  ++plan.refused;
  if (plan.shortage == Shortage::throws) throw std::bad_alloc();
  return false;
}

// Ends the refusals, whatever way the scenario ends.
class Scope {
 public:
  Scope(int refuse_at, Shortage shortage) {
    plan = {refuse_at, shortage, 0, 0};
    platform::set_allocation_gate(gate);
  }
  ~Scope() {
    platform::set_allocation_gate(nullptr);
    plan.refuse_at = 0;
  }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
};

}  // namespace allocation_failures

// For scenarios: has an allocation been refused since this run began?
inline bool allocation_refused() { return allocation_failures::plan.refused != 0; }

// Runs `action` with its N-th allocation failing; returns whether one failed.
template <class Action>
bool with_allocation_failing(int n, Shortage shortage, Action action) {
  const allocation_failures::Scope scope(n, shortage);
  action();
  return allocation_refused();
}

// Runs `scenario` with N = 1, 2, ... until a run meets no failure. The scenario makes and destroys
// what it needs, checks its results with allocation_refused(), and must be able to run anew.
template <class Scenario>
void fail_each_allocation(Shortage shortage, Scenario scenario) {
  constexpr int kTooMany = 10000;
  for (int n = 1; n <= kTooMany; ++n) {
    SCOPED_TRACE(testing::Message()
                 << "allocation " << n << ", shortage " << static_cast<int>(shortage));
    if (!with_allocation_failing(n, shortage, scenario)) return;
    if (testing::Test::HasFatalFailure()) return;
  }
  FAIL() << "the scenario never came to its end";
}

template <class Scenario>
void fail_each_allocation(Scenario scenario) {
  fail_each_allocation(Shortage::once, scenario);
  fail_each_allocation(Shortage::from_then_on, scenario);
}

// The same with an allocator that throws std::bad_alloc; the scenario may let it out.
template <class Scenario>
void throw_at_each_allocation(Scenario scenario) {
  fail_each_allocation(Shortage::throws, [&scenario] {
    try {
      scenario();
    } catch (const std::bad_alloc&) {
      // Checked by what the next run finds.
    }
  });
}

}  // namespace qmsd::test
