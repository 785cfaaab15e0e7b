// Texts of callers, wide or narrow, from and to the UTF-8 that the tree is made of.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "qmsd7.h"

namespace qmproperty {

// A lone surrogate becomes U+FFFD.
std::string to_utf8(const qm_wchar* text);
// Ends at the first byte that the runtime's locale cannot convert.
std::string to_utf8(const char* text);

std::basic_string<qm_wchar> to_wide(std::string_view utf8);

// Fill the buffer with as many whole characters as fit, and terminate. `length` is above 0.
// The narrow form also ends at the first character that the locale has not.
void copy_text(std::string_view utf8, qm_wchar* buffer, std::int32_t length);
void copy_text(std::string_view utf8, char* buffer, std::int32_t length);

// The same for lines that each end in CR LF: one that cannot be converted or does not fit is left
// out whole, for half a name would be another name.
void copy_lines(std::string_view utf8, qm_wchar* buffer, std::int32_t length);
void copy_lines(std::string_view utf8, char* buffer, std::int32_t length);

}  // namespace qmproperty
