// A version resource as the system's own libraries carry it.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/version_resource.h"

namespace qmsd::platform {
namespace {

TEST(SystemVersion, IsFetchedFromALibraryOfTheSystem) {
  const std::size_t size = version_resource_size(L"kernel32.dll");
  ASSERT_GT(size, 40u);
  std::vector<unsigned char> block(size);
  ASSERT_TRUE(read_version_resource(L"kernel32.dll", block.data(), size));
  EXPECT_STREQ(reinterpret_cast<const wchar_t*>(block.data() + 6), L"VS_VERSION_INFO");
}

}  // namespace
}  // namespace qmsd::platform
