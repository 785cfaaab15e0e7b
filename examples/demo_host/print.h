// What the demo host shows: lines below a step's title, and the kernel's error when a call fails.
#pragma once

#include <string>

#include "qmsd7.h"

namespace demo {

std::string utf8(const qm_wchar* text);  // null gives ""
std::string version_text(uint32_t packed);

// Prints one indented line.
void say(const std::string& line);

// Prints what went wrong, with the thread's error, unless `passed`. Returns `passed`.
bool check(bool passed, const char* what);

}  // namespace demo
