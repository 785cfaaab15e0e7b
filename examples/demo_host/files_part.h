// The part of the demo about whole files and slots.
#pragma once

namespace demo {

// Runs its steps, counting on from `number`; false when one of them failed.
bool run_files_part(int& number);

}  // namespace demo
