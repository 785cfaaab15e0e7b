// The demo is made of parts, a part of steps. The steps of a part run in their order and share a
// state of their own; all are numbered through.
#pragma once

#include <cstdio>
#include <span>

#include "print.h"

namespace demo {

template <class State>
struct Step {
  const char* title;
  bool (*run)(State& state);
};

// False after the first step that fails. `number` is that of the last step before and after.
template <class State>
bool run_steps(std::span<const Step<State>> steps, int& number) {
  State state;
  for (const Step<State>& step : steps) {
    std::printf("%2d. %s\n", ++number, step.title);
    if (!step.run(state)) return false;
    say("ok");
  }
  return true;
}

}  // namespace demo
