// What the operating system does for the property module. linux/ and windows/ hold the twins.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace qmproperty {

// Directory of this module's own library file.
std::filesystem::path library_directory();

std::error_code read_file(const std::filesystem::path& path, std::string& content);

// Writes a new file beside the one at `path`, flushes it to the medium and puts it in its place.
// On failure the old file is as it was and nothing is left beside it.
std::error_code replace_file(const std::filesystem::path& path, std::string_view content);

// One character in the runtime's current locale; in the "C" locale bytes are U+0000 to U+00FF.
// Both return the number of bytes, 0 when the character cannot be converted.
std::size_t decode_character(std::string_view bytes, char32_t& character);
std::size_t encode_character(char32_t character, char (&bytes)[16]);

}  // namespace qmproperty
