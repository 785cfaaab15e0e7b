// What a library file tells about itself: for which machine it is made, what it exports and what it
// wants from others. Windows files (PE) and Linux files (ELF) are read alike on both systems.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmtool {

enum class ImageFormat { pe, elf };

struct Import {
  std::string_view library;
  std::vector<std::string_view> names;  // what is wanted from it; files of Linux do not tell
};

// All texts are borrowed from the file's bytes.
struct Image {
  ImageFormat format = ImageFormat::pe;
  int bits = 0;             // 32 or 64; 0 when the headers could not be read
  std::string machine;      // "x86", "x86-64", ...
  bool is_program = false;  // made to be started, not to be loaded
  std::vector<std::string_view> exports;
  std::vector<Import> imports;
  std::vector<std::string_view> wanted;    // Linux: wanted from any library, optional ones left out
  std::vector<std::string_view> run_path;  // Linux: folders where its imports are looked for first

  bool exports_name(std::string_view name) const;
};

enum class ImageFault {
  none,
  empty,      // no byte in it
  foreign,    // no library file of either system
  truncated,  // shorter than its headers say
  damaged,
};

struct ImageReading {
  ImageFault fault = ImageFault::none;
  std::string detail;  // of a fault: follows "the file "
  Image image;         // as far as it could be read
};

// Never throws for what the bytes hold.
ImageReading read_image(std::string_view bytes);

std::string_view name_of(ImageFormat format);

}  // namespace qmtool
