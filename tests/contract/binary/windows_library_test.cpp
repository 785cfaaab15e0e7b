// The Windows library as a file: what it offers, what it needs, how it may be loaded.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string>
#include <vector>

#include "tests/contract/binary/pe_image.h"

namespace binary {
namespace {

class WindowsLibrary : public testing::Test {
 protected:
  const PeImage image{QMSD_LIBRARY_FILE};
};

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

TEST_F(WindowsLibrary, IsA32BitLibrary) {
  EXPECT_EQ(image.file_header().Machine, IMAGE_FILE_MACHINE_I386);
  EXPECT_TRUE(image.file_header().Characteristics & IMAGE_FILE_DLL);
}

TEST_F(WindowsLibrary, ExportsTheCallEntryAlone) {
  EXPECT_EQ(image.exported_names(), std::vector<std::string>{"qm_call"});
  // Nor anything without a name.
  EXPECT_EQ(image.export_directory().NumberOfFunctions, 1u);
}

TEST_F(WindowsLibrary, NeedsOnlyWhatEverySystemHas) {
  const std::set<std::string> system = {"kernel32.dll", "msvcrt.dll", "version.dll"};
  const std::vector<std::string> libraries = image.imported_libraries();
  EXPECT_FALSE(libraries.empty());
  for (const std::string& library : libraries) {
    EXPECT_TRUE(system.contains(lower_case(library))) << library;
  }
}

TEST_F(WindowsLibrary, MayBeLoadedAnywhereWithDataThatDoesNotRun) {
  const WORD flags = image.optional_header().DllCharacteristics;
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
  EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
  EXPECT_TRUE(image.has_directory(IMAGE_DIRECTORY_ENTRY_BASERELOC));
  for (const IMAGE_SECTION_HEADER& section : image.sections()) {
    const DWORD both = IMAGE_SCN_MEM_EXECUTE | IMAGE_SCN_MEM_WRITE;
    EXPECT_NE(section.Characteristics & both, both);
  }
}

TEST_F(WindowsLibrary, CarriesNoTimeOfBuilding) {
  EXPECT_EQ(image.file_header().TimeDateStamp, 0u);
  EXPECT_EQ(image.export_directory().TimeDateStamp, 0u);
}

TEST_F(WindowsLibrary, CarriesItsVersion) {
  const auto version = image.version();
  ASSERT_TRUE(version.has_value());
  EXPECT_EQ(version->dwFileVersionMS, 0x00070003u);
  EXPECT_EQ(version->dwFileVersionLS, 0x0001001Du);
}

}  // namespace
}  // namespace binary
