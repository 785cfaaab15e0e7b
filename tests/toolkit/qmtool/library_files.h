// Files that are no libraries, or not for this system, made from a sound one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qmtool_test {

// The headers of a library for the other word size; for the other system; for another machine.
std::string with_other_word_size(std::string library);
std::string for_other_system();
std::string for_other_machine(std::string library);
// A library of 32 bits that imports these, and no names from them.
std::string windows_library_importing(const std::vector<std::string>& libraries);
// A library whose headers contradict themselves.
std::string damaged(std::string library);

}  // namespace qmtool_test
