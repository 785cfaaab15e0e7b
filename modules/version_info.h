// Version information of files: the texts of a version resource in one tracked block.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// `*props` is null or a live tracked block, which is resized and reused. Records its errors.
bool read_version_info(const qm_wchar* file, qm_version_props** props);

// The fixed version of a file as one packed word; false (and nothing recorded) if it has none.
bool read_packed_version(const qm_wchar* file, std::uint32_t& version);

// QM_CALL_VERSIONINFOW and its narrow twin.
bool version_info_wide(qm_version_info_w* record);
bool version_info_narrow(qm_version_info_a* record);

}  // namespace qmsd
