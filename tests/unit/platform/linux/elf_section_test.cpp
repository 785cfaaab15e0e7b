// Library files built byte by byte, sound ones and others.
#include <elf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/version_resource.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

constexpr char kBlock[] = "the version block";

// A file of three sections: none, the names, the version block.
struct ElfFile {
  Elf64_Ehdr header{};
  Elf64_Shdr sections[3]{};
  char names[32] = "\0.shstrtab\0.qmversion";
  char block[sizeof kBlock]{};

  ElfFile() {
    std::memcpy(block, kBlock, sizeof kBlock);
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS64;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_shoff = offsetof(ElfFile, sections);
    header.e_shentsize = sizeof(Elf64_Shdr);
    header.e_shnum = 3;
    header.e_shstrndx = 1;
    set_section(1, SHT_STRTAB, 1, offsetof(ElfFile, names), sizeof names);
    set_section(2, SHT_PROGBITS, 11, offsetof(ElfFile, block), sizeof block);
  }

  void set_section(int index, std::uint32_t type, std::uint32_t name, std::size_t offset,
                   std::size_t size) {
    sections[index].sh_type = type;
    sections[index].sh_name = name;
    sections[index].sh_offset = offset;
    sections[index].sh_size = size;
  }

  // Without the padding at the end.
  std::string bytes() const {
    return {reinterpret_cast<const char*>(this), offsetof(ElfFile, block) + sizeof block};
  }
};

class ElfSection : public testing::Test {
 protected:
  std::size_t size_in(const std::string& bytes) {
    return version_resource_size(folder_.add_file("module.so", bytes).u16string().c_str());
  }
  std::size_t size_in(const ElfFile& file) { return size_in(file.bytes()); }

  // Asks for the block as a caller does, whatever the file says.
  void expect_sound(const std::string& bytes) {
    const std::u16string name = folder_.add_file("module.so", bytes).u16string();
    const std::size_t size = version_resource_size(name.c_str());
    ASSERT_LE(size, bytes.size());
    std::vector<char> block(size);
    read_version_resource(name.c_str(), block.data(), size);
  }

  TemporaryFolder folder_;
};

TEST_F(ElfSection, IsFetchedByItsName) {
  const ElfFile file;
  const std::u16string name = folder_.add_file("module.so", file.bytes()).u16string();
  ASSERT_EQ(version_resource_size(name.c_str()), sizeof kBlock);
  char block[sizeof kBlock];
  EXPECT_TRUE(read_version_resource(name.c_str(), block, sizeof block));
  EXPECT_STREQ(block, kBlock);
}

TEST_F(ElfSection, IsNotFetchedInAnotherSizeThanItHas) {
  const std::u16string name = folder_.add_file("module.so", ElfFile().bytes()).u16string();
  char block[2 * sizeof kBlock];
  EXPECT_FALSE(read_version_resource(name.c_str(), block, sizeof kBlock - 1));
  EXPECT_FALSE(read_version_resource(name.c_str(), block, sizeof kBlock + 1));
}

TEST_F(ElfSection, HasToHaveTheWholeName) {
  for (const char* name : {".qmversio", ".qmversionx", "qmversion", ".QMVERSION"}) {
    ElfFile file;
    std::strcpy(file.names + 11, name);
    EXPECT_EQ(size_in(file), 0u) << name;
  }
}

TEST_F(ElfSection, HasToHaveBytesInTheFile) {
  ElfFile file;
  file.sections[2].sh_type = SHT_NOBITS;
  EXPECT_EQ(size_in(file), 0u);
  file = {};
  file.sections[2].sh_size = 0;
  EXPECT_EQ(size_in(file), 0u);
  file = {};
  ++file.sections[2].sh_size;
  EXPECT_EQ(size_in(file), 0u);
}

TEST_F(ElfSection, IsNotSoughtInForeignFiles) {
  ElfFile file;
  file.header.e_ident[EI_CLASS] = ELFCLASS32;
  EXPECT_EQ(size_in(file), 0u);
  file = {};
  file.header.e_ident[EI_DATA] = ELFDATA2MSB;
  EXPECT_EQ(size_in(file), 0u);
  file = {};
  file.header.e_ident[0] = 'E';
  EXPECT_EQ(size_in(file), 0u);
  file = {};
  file.header.e_shentsize = 8;
  EXPECT_EQ(size_in(file), 0u);
}

TEST_F(ElfSection, MayLieNowhereElseThanInTheFile) {
  for (const std::uint64_t number : {std::uint64_t{sizeof(ElfFile)}, std::uint64_t{1} << 32,
                                     ~std::uint64_t{0}, ~std::uint64_t{0} - sizeof kBlock}) {
    ElfFile file;
    file.sections[2].sh_offset = number;
    EXPECT_EQ(size_in(file), 0u) << number;
    file = {};
    file.sections[2].sh_size = number;
    EXPECT_EQ(size_in(file), 0u) << number;
    file = {};
    file.sections[1].sh_offset = number;
    EXPECT_EQ(size_in(file), 0u) << number;
    file = {};
    file.sections[1].sh_size = number;
    EXPECT_EQ(size_in(file), 0u) << number;
    file = {};
    file.header.e_shoff = number;
    EXPECT_EQ(size_in(file), 0u) << number;
  }
}

TEST_F(ElfSection, NeedsANameInsideTheNames) {
  ElfFile file;
  for (const std::uint32_t position : {22u, 31u, 32u, 33u, 0xFFFFFFFFu}) {
    file.sections[2].sh_name = position;
    EXPECT_EQ(size_in(file), 0u) << position;
  }
  file = {};
  file.header.e_shstrndx = 3;
  EXPECT_EQ(size_in(file), 0u);
  file = {};
  file.header.e_shnum = 0xFFFF;
  EXPECT_EQ(size_in(file), 0u);
}

TEST_F(ElfSection, IsMissingInEveryFileThatIsCutShort) {
  const std::string whole = ElfFile().bytes();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    ASSERT_EQ(size_in(whole.substr(0, size)), 0u) << size;
  }
  EXPECT_EQ(size_in(whole), sizeof kBlock);
}

TEST_F(ElfSection, SurvivesAnyDamage) {
  std::mt19937 random(20240229);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes = ElfFile().bytes();
    for (auto changes = 1 + random() % 4; changes > 0; --changes) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    expect_sound(bytes);
  }
}

TEST_F(ElfSection, DoesNotWaitForAPipe) {
  const std::filesystem::path pipe = folder_.path() / "pipe.so";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(version_resource_size(pipe.u16string().c_str()), 0u);
}

}  // namespace
}  // namespace qmsd::platform
