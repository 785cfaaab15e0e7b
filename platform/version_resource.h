// Fetches the bytes of a file's version resource. What they mean is none of its business: they are
// as hostile as the file. Any thread may call; no lock may be held.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// Size in bytes, 0 when the file has none or cannot be read. Natively the same block lies in the
// section ".qmversion" of a library file.
std::size_t version_resource_size(const qm_wchar* file);
// Fills `block`, which has room for the size that was asked for. False when the bytes cannot be
// fetched, perhaps because the file has changed since; the block's content is then undefined.
bool read_version_resource(const qm_wchar* file, void* block, std::size_t size);

}  // namespace qmsd::platform
