// The Linux library as a file: what it offers, what it needs, how it may be loaded.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/contract/binary/elf_image.h"

namespace binary {
namespace {

class LinuxLibrary : public testing::Test {
 protected:
  const ElfImage image{QMSD_LIBRARY_FILE};
};

TEST_F(LinuxLibrary, ExportsTheCallEntryAlone) {
  std::vector<std::string> exported;
  for (const ElfImage::Symbol& symbol : image.symbols()) {
    if (symbol.defined) exported.push_back(symbol.name);
  }
  EXPECT_EQ(exported, std::vector<std::string>{"qm_call"});
}

TEST_F(LinuxLibrary, NeedsOnlyTheLanguagesOwnLibraries) {
  const std::set<std::string> system = {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6",
                                        "ld-linux-x86-64.so.2"};
  const std::vector<std::string> libraries = image.needed_libraries();
  EXPECT_FALSE(libraries.empty());
  for (const std::string& library : libraries) EXPECT_TRUE(system.contains(library)) << library;
}

// What the system's libraries offer is versioned; a name without a version would have to be found
// in whatever program happens to load the library.
TEST_F(LinuxLibrary, TakesEveryNameFromALibraryItNeeds) {
  for (const ElfImage::Symbol& symbol : image.symbols()) {
    if (symbol.defined || symbol.weak) continue;
    EXPECT_TRUE(symbol.versioned) << symbol.name;
  }
}

TEST_F(LinuxLibrary, IsFoundByItsMajorVersionAndLooksForModulesBesideIt) {
  EXPECT_EQ(image.dynamic_texts(DT_SONAME), std::vector<std::string>{"libqmsd7.so.7"});
  EXPECT_EQ(image.dynamic_texts(DT_RPATH), std::vector<std::string>{"$ORIGIN/qm"});
  EXPECT_TRUE(image.dynamic_texts(DT_RUNPATH).empty());
}

TEST_F(LinuxLibrary, IsBoundAtOnceAndThenWriteProtected) {
  EXPECT_TRUE(image.dynamic_value(DT_FLAGS_1) & DF_1_NOW);
  EXPECT_TRUE(image.segment(PT_GNU_RELRO).has_value());
  EXPECT_EQ(image.dynamic_value(DT_TEXTREL), 0u);
  const auto stack = image.segment(PT_GNU_STACK);
  ASSERT_TRUE(stack.has_value());
  EXPECT_FALSE(stack->p_flags & PF_X);
}

}  // namespace
}  // namespace binary
