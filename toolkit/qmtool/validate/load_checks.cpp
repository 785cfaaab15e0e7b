// Checks of loading and unloading, most of them without the kernel.
#include <algorithm>
#include <cfenv>
#include <cfloat>
#include <chrono>
#include <clocale>
#include <filesystem>

#include "toolkit/qmtool/system/threads.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

using std::chrono::milliseconds;

void loads(Subject& module) {
  const LoadedLibrary library = module.load();
  module.enter("while it is unloaded");
}

void loads_quickly(Subject& module) {
  constexpr milliseconds kLongest(100);
  constexpr int kAttempts = 5;  // others use the machine, too
  auto best = milliseconds::max();
  for (int i = 0; i < kAttempts && best > kLongest; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    const LoadedLibrary library = module.load();
    const auto lasted = std::chrono::steady_clock::now() - begin;
    best = std::min(best, std::chrono::ceil<milliseconds>(lasted));
  }
  expect(best <= kLongest, "it takes " + std::to_string(best.count()) + " ms");
}

void loads_repeatedly(Subject& module) {
  for (int i = 0; i < 20; ++i) module.load();
}

// Nobody tells the library the kernel's entry, as when a tool only looks at its exports.
void loads_alone(Subject& module) {
  if (!module.reading().image.exports_name("qmmoduleinfo")) {
    throw CheckSkipped("file.information-export failed");
  }
  const LoadedLibrary library = module.load();
  const auto* const information = static_cast<const std::uint32_t*>(library.find("qmmoduleinfo"));
  expect(information != nullptr && *information != 0, "qmmoduleinfo cannot be read then");
}

void loads_again(Subject& module) {
  for (int i = 0; i < 3; ++i) module.open().close();
}

void keeps_locale(Subject& module) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  const LoadedLibrary library = module.load();
  const std::string after = std::setlocale(LC_ALL, nullptr);
  expect(after == before, "it was \"" + before + "\", it is \"" + after + "\"");
}

void keeps_current_folder(Subject& module) {
  const auto before = std::filesystem::current_path();
  const LoadedLibrary library = module.load();
  const auto after = std::filesystem::current_path();
  expect(after == before, "it is " + utf8(after) + " afterwards");
}

struct FloatingState {
  int rounding = std::fegetround();
  bool has_denormals = keeps_small_values();
  bool has_extended_precision = keeps_long_digits();

  static bool keeps_small_values() {
    volatile double smallest = DBL_MIN;
    return smallest / 2 != 0;
  }
  static bool keeps_long_digits() {
    volatile long double one = 1;
    return one + LDBL_EPSILON != one;
  }
};

void keeps_floating_state(Subject& module) {
  const FloatingState before;
  const LoadedLibrary library = module.load();
  const FloatingState after;
  expect(after.rounding == before.rounding, "numbers are rounded in another way afterwards");
  expect(after.has_denormals == before.has_denormals, "very small numbers become 0 afterwards");
  expect(after.has_extended_precision == before.has_extended_precision,
         "numbers have another precision afterwards");
}

void starts_no_threads(Subject& module) {
  const std::size_t before = thread_count();
  const LoadedLibrary library = module.load();
  const std::size_t after = thread_count();
  expect(after <= before, "it starts " + counted(after - before, "thread", "threads"));
}

constexpr const char* kRoutineAdvice =
    "Do no more than set variables in the load routine and in constructors of static objects, and "
    "no more than that on the way back.";

constexpr Check kChecks[] = {
    {kLoadCheck, "It can be loaded and unloaded", kRoutineAdvice, &loads, Needs::file},
    {"load.quickly", "It is loaded within 100 ms", kRoutineAdvice, &loads_quickly, Needs::load},
    {"load.repeatedly", "It can be loaded and unloaded again and again",
     "Give back in the unload routine what the load routine took.", &loads_repeatedly, Needs::load},
    {"load.alone", "It can be loaded and unloaded without a kernel",
     "Do not call the kernel before 0x1003FFFF has brought its entry.", &loads_alone, Needs::load},
    {"load.again", "The kernel can load it again after its last close",
     "Put variables into their first state when the library is loaded.", &loads_again, Needs::open},
    {"load.locale", "Loading leaves the program's locale alone",
     "Do not call setlocale(): the locale is the program's.", &keeps_locale, Needs::load},
    {"load.current-folder", "Loading leaves the current folder alone",
     "Do not change the current folder: it is the program's.", &keeps_current_folder, Needs::load},
    {"load.floating-point", "Loading leaves the rules of floating point alone",
     "Link without -ffast-math and the like, and restore what other libraries change.",
     &keeps_floating_state, Needs::load},
    {"load.no-threads", "Loading starts no threads",
     "Start threads when the first instance is opened, not in the load routine.",
     &starts_no_threads, Needs::load, Weight::should},
};

}  // namespace

std::span<const Check> load_checks() { return kChecks; }

}  // namespace qmtool
