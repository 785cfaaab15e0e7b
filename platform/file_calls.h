// The system's own calls for files. file.cpp alone makes them, and turns what they leave in errno
// into results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "platform/file.h"

namespace qmsd::platform {

// False on failure.
bool os_query_status(const qm_wchar* path, FileStatus& status);
bool os_create_directory(const qm_wchar* path);
bool os_remove_file(const qm_wchar* path);

// -1 on failure.
int os_open_for_reading(const qm_wchar* path);
std::int64_t os_size(int descriptor);                                   // the position stays
std::int64_t os_read(int descriptor, void* buffer, std::size_t bytes);  // 0 at the end
void os_close(int descriptor);

// Null on failure.
std::FILE* os_open_for_writing(const qm_wchar* path);

}  // namespace qmsd::platform
