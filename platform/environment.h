// The live process environment, not the runtime's snapshot of it.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

enum class Variable { missing, present, too_long };

// The buffer receives the terminated value when it is present and fits, else an empty text; it has
// room for the terminator at least. Variable names are ASCII and shorter than 64 characters. Any
// thread may ask, but natively not while another changes the environment.
Variable read_variable(const char* name, qm_wchar* buffer, std::size_t length);
Variable read_variable(const char* name, char* buffer, std::size_t size);

// Replaces %NAME% by the variable's value; unknown names and single percent signs stay. Returns the
// length that the whole result needs, terminator included, or 0 when it cannot be made. What does
// not fit is not written; `buffer` may be null with a length of 0.
std::size_t expand_variables(const qm_wchar* text, qm_wchar* buffer, std::size_t length);

}  // namespace qmsd::platform
