// Can this system load such a file?
#pragma once

#include <string>

#include "toolkit/qmtool/image/image.h"

namespace qmtool {

// Why a file cannot be loaded, by the file's own headers.
struct Unfitness {
  const char* cause;   // one of the causes that `qmtool inspect` names
  std::string detail;  // follows "the file "
};

// `cause` is null when nothing speaks against the file.
Unfitness unfitness_of(const ImageReading& reading);

// "32-bit x86 Windows library"
std::string describe(const Image& image);

}  // namespace qmtool
