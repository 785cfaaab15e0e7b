#include "platform/version_resource.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

std::basic_string<qm_wchar> name_of(const std::filesystem::path& path) {
  return path.string<qm_wchar>();
}

TEST(VersionResource, IsMissingWhereThereIsNoFile) {
  char block[8];
  EXPECT_EQ(version_resource_size(QM_W("qmsd_no_such_file")), 0u);
  EXPECT_FALSE(read_version_resource(QM_W("qmsd_no_such_file"), block, sizeof block));
  EXPECT_EQ(version_resource_size(QM_W("")), 0u);
}

TEST(VersionResource, IsMissingInFilesOfAnotherKind) {
  const TemporaryFolder folder;
  EXPECT_EQ(version_resource_size(name_of(folder.path()).c_str()), 0u);
  EXPECT_EQ(version_resource_size(name_of(folder.add_file("empty")).c_str()), 0u);
  const auto text = name_of(folder.add_file("text", std::string(5000, 'x')));
  EXPECT_EQ(version_resource_size(text.c_str()), 0u);
  char block[8];
  EXPECT_FALSE(read_version_resource(text.c_str(), block, sizeof block));
}

}  // namespace
}  // namespace qmsd::platform
