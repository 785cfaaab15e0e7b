// The readers of the two formats. They throw Damage; `image` then holds what was read up to there.
#pragma once

#include "toolkit/qmtool/image/bytes.h"
#include "toolkit/qmtool/image/image.h"

namespace qmtool {

// The bytes begin with "MZ".
void read_pe(const Bytes& file, Image& image);
// The bytes begin with 0x7F "ELF".
void read_elf(const Bytes& file, Image& image);

}  // namespace qmtool
