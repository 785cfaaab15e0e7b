// The Windows library as a file: what it offers, what it needs, how it may be loaded.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "include/qmsd7.h"
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

// The loader's notices have numbers up to 3.
TEST_F(WindowsLibrary, TakesNoticesThatItDoesNotKnow) {
  const HMODULE library = ::LoadLibraryA(QMSD_LIBRARY_FILE);
  ASSERT_NE(library, nullptr);
  using Entry = BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID);
  const auto entry = reinterpret_cast<Entry>(reinterpret_cast<std::uintptr_t>(library) +
                                             image.optional_header().AddressOfEntryPoint);
  const auto found = reinterpret_cast<void (*)()>(::GetProcAddress(library, "qm_call"));
  const auto call = reinterpret_cast<qm_call_fn>(found);
  for (const DWORD reason : {4ul, 5ul, 0x7FFFFFFFul, 0xFFFFFFFFul}) {
    EXPECT_EQ(entry(library, reason, nullptr), TRUE) << reason;
    EXPECT_EQ(call(0, QM_CALL_NOP, nullptr), 1) << reason;
  }
  EXPECT_TRUE(::FreeLibrary(library));
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
