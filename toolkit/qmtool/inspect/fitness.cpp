#include "toolkit/qmtool/inspect/fitness.h"

#include "toolkit/qmtool/system/files.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/system/program.h"

namespace qmtool {
namespace {

// As this program's own headers name it.
const std::string& own_machine() {
  static const std::string name = read_image(MappedFile(program_file()).bytes()).image.machine;
  return name;
}

const char* cause_of(ImageFault fault) {
  switch (fault) {
    case ImageFault::none:
      break;
    case ImageFault::empty:
      return "empty-file";
    case ImageFault::foreign:
      return "not-a-library";
    case ImageFault::truncated:
      return "truncated-file";
    case ImageFault::damaged:
      return "damaged-file";
  }
  return nullptr;
}

std::string own_kind() {
  return std::string(kOwnFormat == ImageFormat::pe ? "Windows" : "Linux") + " programs of " +
         std::to_string(kOwnBits) + " bits";
}

}  // namespace

Unfitness unfitness_of(const ImageReading& reading) {
  const Image& image = reading.image;
  // Of a file for something else it does not matter that it is damaged, too.
  const bool has_headers = image.bits != 0;
  if (has_headers && image.format != kOwnFormat) {
    return {"other-system", "is a " + describe(image) + ", which " + own_kind() + " cannot load"};
  }
  if (has_headers && image.bits != kOwnBits) {
    return {"other-word-size",
            "is a " + describe(image) + ", which " + own_kind() + " cannot load"};
  }
  if (reading.fault != ImageFault::none) return {cause_of(reading.fault), reading.detail};
  if (image.machine != own_machine()) {
    return {"other-machine", "is a " + describe(image) + ", which this machine cannot load"};
  }
  if (image.is_program) return {"program", "is a program, not a library"};
  return {nullptr, ""};
}

std::string describe(const Image& image) {
  return std::to_string(image.bits) + "-bit " + image.machine + " " +
         std::string(name_of(image.format)) + (image.is_program ? " program" : " library");
}

}  // namespace qmtool
