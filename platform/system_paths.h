// Paths that the system knows. Only library.cpp asks, so that tests can answer instead.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// As the functions of library.h that these serve.
void os_system_directory(qm_wchar* buffer, std::size_t length);
bool os_listed_system_directory(qm_wchar* buffer, std::size_t length);
std::size_t os_executable_name(char* buffer, std::size_t size) noexcept;

}  // namespace qmsd::platform
