#include "tests/unit/platform/surroundings.h"

#include <fstream>
#include <random>

namespace qmsd::platform {

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() /
            ("qmsd_platform_" + std::to_string(std::random_device{}()))) {
  std::filesystem::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() { std::filesystem::remove_all(path_); }

std::filesystem::path TemporaryFolder::add_file(const std::filesystem::path& name,
                                                const std::string& content) const {
  std::filesystem::path file = path_ / name;
  std::filesystem::remove(file);  // some file systems hurry to store a file that replaces another
  std::ofstream(file, std::ios::binary) << content;
  return file;
}

}  // namespace qmsd::platform
