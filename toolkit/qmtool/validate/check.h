// One thing that a module has to get right, and how it is tried.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace qmtool {

class Subject;

// What has to be well before a check makes sense: each needs those before it.
enum class Needs { nothing, file, load, open };

enum class Weight {
  must,    // a module that fails is broken
  should,  // it works, but somebody will be surprised
};

struct Check {
  const char* name;    // "open.two-at-once"
  const char* title;   // what a good module does
  const char* advice;  // what to change in one that does not
  void (*run)(Subject& module);
  Needs needs = Needs::open;
  Weight weight = Weight::must;
  // The check goes on while its process ends.
  bool watches_the_end = false;
};

// Thrown by checks: what was seen instead of what a good module does.
struct CheckFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};
// Thrown where a check does not apply.
struct CheckSkipped : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline void expect(bool well, const std::string& seen) {
  if (!well) throw CheckFailure(seen);
}

std::span<const Check> file_checks();
std::span<const Check> load_checks();
std::span<const Check> information_checks();
std::span<const Check> open_checks();
std::span<const Check> close_checks();
std::span<const Check> call_checks();
std::span<const Check> memory_checks();
std::span<const Check> thread_checks();
std::span<const Check> end_checks();

// All of them in the order in which they are shown.
const std::vector<const Check*>& all_checks();
// Those on which the others rest, and all of them in the order of Needs.
inline constexpr const char* kFileCheck = "file.fits";
inline constexpr const char* kLoadCheck = "load.loads";
inline constexpr const char* kOpenCheck = "open.opens";
inline constexpr const char* kFoundations[] = {kFileCheck, kLoadCheck, kOpenCheck};

}  // namespace qmtool
