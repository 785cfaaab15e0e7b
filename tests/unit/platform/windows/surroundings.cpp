#include "tests/unit/platform/surroundings.h"

#include <windows.h>

namespace qmsd::platform {

void set_variable(const char* name, const char* value) { ::SetEnvironmentVariableA(name, value); }

}  // namespace qmsd::platform
