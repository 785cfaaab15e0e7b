// All checks, group by group.
#include "toolkit/qmtool/validate/check.h"

namespace qmtool {

const std::vector<const Check*>& all_checks() {
  static const std::vector<const Check*> all = [] {
    std::vector<const Check*> checks;
    for (const auto group :
         {file_checks(), load_checks(), information_checks(), open_checks(), close_checks(),
          call_checks(), memory_checks(), thread_checks(), end_checks()}) {
      for (const Check& check : group) checks.push_back(&check);
    }
    return checks;
  }();
  return all;
}

}  // namespace qmtool
