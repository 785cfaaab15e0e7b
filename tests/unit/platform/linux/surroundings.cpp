#include "tests/unit/platform/surroundings.h"

#include <cstdlib>

namespace qmsd::platform {

void set_variable(const char* name, const char* value) {
  if (value == nullptr) {
    ::unsetenv(name);
  } else {
    ::setenv(name, value, 1);
  }
}

}  // namespace qmsd::platform
