// Checks of the end of a process that uses the module. They go on when their function is through.
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

void ends_after_close(Subject& module) { module.open().close(); }

// Where the system lets it, the kernel closes at its end what is still open.
void ends_with_instance(Subject& module) { static_cast<void>(module.open().release()); }

void ends_loaded(Subject& module) { module.load().keep(); }

constexpr const char* kEndAdvice =
    "Expect a close after the destructors of static objects: keep instances in plain data, or "
    "never destroy what holds them.";

constexpr Check kChecks[] = {
    {"end.closed", "A program ends well after the last close",
     "Mend the unload routine and the destructors of static objects.", &ends_after_close,
     Needs::open, Weight::must, true},
    {"end.open", "A program ends well while an instance is open", kEndAdvice, &ends_with_instance,
     Needs::open, Weight::must, true},
    {"end.without-kernel", "A program ends well that has loaded the library alone",
     "Do not call the kernel from the unload routine, least of all one that never came.",
     &ends_loaded, Needs::load, Weight::must, true},
};

}  // namespace

std::span<const Check> end_checks() { return kChecks; }

}  // namespace qmtool
