#include "tests/toolkit/qmtool/library_files.h"

#include <string_view>

namespace qmtool_test {
namespace {

void put(std::string& file, std::size_t at, std::uint32_t number, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    file[at + static_cast<std::size_t>(i)] = static_cast<char>(number >> (8 * i));
  }
}

std::size_t pe_header(const std::string& file) {
  std::size_t at = 0;
  for (int i = 3; i >= 0; --i) {
    at = at << 8 | static_cast<unsigned char>(file[0x3C + static_cast<std::size_t>(i)]);
  }
  return at + 4;
}

// A library of 32 bits for Windows, without any section.
std::string headers_for_windows() {
  std::string file = "MZ";
  file.resize(512);
  put(file, 0x3C, 64, 4);
  file.replace(64, 4, "PE\0\0", 4);
  const std::size_t header = pe_header(file);
  put(file, header, 0x014C, 2);       // x86
  put(file, header + 18, 0x2102, 2);  // library
  put(file, header + 20, 0x010B, 2);  // 32 bits
  return file;
}

constexpr std::size_t kPeOptionalHeader = 20;

#ifdef _WIN32

std::string headers_for_linux() {
  std::string file("\177ELF\2\1\1", 7);
  file.resize(64);
  put(file, 16, 3, 2);   // shared
  put(file, 18, 62, 2);  // x86-64
  return file;
}

#endif

}  // namespace

// All of it is part of the headers, so that addresses are places in the file.
std::string windows_library_importing(const std::vector<std::string>& libraries) {
  constexpr std::size_t kEntrySize = 20;
  std::string file = headers_for_windows();
  const std::size_t table = file.size();
  file.resize(table + (libraries.size() + 1) * kEntrySize);
  for (std::size_t i = 0; i < libraries.size(); ++i) {
    put(file, table + i * kEntrySize + 12, static_cast<std::uint32_t>(file.size()), 4);
    file += libraries[i] + '\0';
  }
  const std::size_t optional = pe_header(file) + kPeOptionalHeader;
  put(file, optional + 60, static_cast<std::uint32_t>(file.size()), 4);
  put(file, optional + 92, 2, 4);  // tables of exports and imports
  put(file, optional + 104, static_cast<std::uint32_t>(table), 4);
  return file;
}

#ifdef _WIN32

std::string with_other_word_size(std::string library) {
  const std::size_t header = pe_header(library);
  put(library, header, 0x8664, 2);
  put(library, header + kPeOptionalHeader, 0x020B, 2);
  return library;
}

std::string for_other_system() { return headers_for_linux(); }

std::string for_other_machine(std::string library) {
  put(library, pe_header(library), 0x01C4, 2);
  return library;
}

std::string damaged(std::string library) {
  put(library, pe_header(library) + kPeOptionalHeader, 0x7777, 2);
  return library;
}

#else

std::string with_other_word_size(std::string library) {
  put(library, 4, 1, 1);
  put(library, 18, 3, 2);
  return library;
}

std::string for_other_system() { return headers_for_windows(); }

std::string for_other_machine(std::string library) {
  put(library, 18, 183, 2);
  return library;
}

// No program header stays.
std::string damaged(std::string library) {
  put(library, 56, 0, 2);
  return library;
}

#endif

}  // namespace qmtool_test
