// Whole files: reading into tracked blocks, writing with the directories that are missing.
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/contract/support/file_test.h"

namespace contract {
namespace {

namespace fs = std::filesystem;

class Files : public FileTest {};

// Every byte value, at every place of a block in turn.
std::string sample(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t at = 0; at < size; ++at) text[at] = static_cast<char>(at * 7 + at / 251);
  return text;
}

class FileSizes : public FileTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(FileSizes, AreReadWhole) {
  const std::string text = sample(GetParam());
  make_file("data.bin", text);
  EXPECT_EQ(read("data.bin"), text);
  EXPECT_EQ(read(QM_W("data.bin")), text);
}

TEST_P(FileSizes, AreWrittenWhole) {
  const std::string text = sample(GetParam());
  EXPECT_TRUE(write("narrow", text));
  EXPECT_TRUE(write(QM_W("wide"), text));
  EXPECT_EQ(contents("narrow"), text);
  EXPECT_EQ(contents("wide"), text);
}

INSTANTIATE_TEST_SUITE_P(Some, FileSizes,
                         testing::Values(0, 1, 3, 4, 4095, 4096, 4097, 5 * 1024 * 1024));

// ---- Reading -----------------------------------------------------------------------------------

TEST_F(Files, AnEmptyOneGivesNoBlock) {
  make_file("empty", "");
  auto record = reading("empty");
  EXPECT_EQ(kernel()(QM_CALL_READFILE, &record), 1);
  EXPECT_EQ(record.size, 0);
  EXPECT_EQ(record.data, nullptr);
}

TEST_F(Files, AreOneTrackedBlockEach) {
  make_file("file", "contents!");
  const int before = kernel().live_blocks();
  auto record = reading("file");
  EXPECT_EQ(kernel()(QM_CALL_READFILE, &record), 1);
  EXPECT_EQ(kernel().live_blocks(), before + 1);
  qm_mem_size size{record.data, 0};
  EXPECT_EQ(kernel()(QM_CALL_MEMSIZE, &size), 1);
  EXPECT_EQ(record.size, 9);
  EXPECT_EQ(size.size, 12) << "nothing but the contents is in the block";
  release(record.data);
}

TEST_F(Files, AMissingNameIsRefused) {
  auto record = reading(static_cast<const char*>(nullptr));
  EXPECT_TRUE(kernel().refuses(QM_CALL_READFILE, record, failure(22, "(!filename)")));
  record.kind = 9;
  EXPECT_TRUE(kernel().refuses(QM_CALL_READFILE, record, failure(22, "(!filename)")));
}

TEST_F(Files, AnUnknownKindOfNameIsRefused) {
  make_file("x", "there");
  for (const std::int32_t kind : {0, 3, -1}) {
    EXPECT_TRUE(unreadable(reading("x", kind), failure(22, "(!filename)"), 0));
  }
}

TEST_F(Files, AMissingFileHasTheSizeMinusOne) {
  for (const char* name : {"missing", "missing\\file", ""}) {
    EXPECT_TRUE(unreadable(reading(name), failure(2, "(file)"), -1)) << name;
  }
}

TEST_F(Files, ADirectoryCannotBeRead) {
  fs::create_directory(folder().file("folder"));
  for (const char* name : {"folder", "folder\\", ".", "folder\\.."}) {
    EXPECT_TRUE(unreadable(reading(name), failure(13, "(file)"), -1)) << name;
  }
}

// A size of 32 bits would see 5 bytes, none, or fewer than none.
TEST_F(Files, TooLargeForASignedSizeIsOutOfRange) {
  make_file("sparse", "");
  for (const std::uintmax_t size : {0x7FFFFFFBull, 0x7FFFFFFFull, 0x80000000ull, 0xFFFFFFFFull,
                                    0x100000000ull, 0x100000005ull}) {
    fs::resize_file(folder().file("sparse"), size);
    EXPECT_TRUE(unreadable(reading("sparse"), failure(34, "(file)"), -1)) << size;
  }
}

// ---- Writing -----------------------------------------------------------------------------------

TEST_F(Files, AreReplaced) {
  EXPECT_TRUE(write("out", "a longer text"));
  EXPECT_TRUE(write("out", "short"));
  EXPECT_EQ(contents("out"), "short");
  EXPECT_TRUE(write("out", ""));
  EXPECT_TRUE(exists("out"));
  EXPECT_EQ(contents("out"), "");
}

TEST_F(Files, MissingDirectoriesAreMade) {
  EXPECT_TRUE(write("new\\deep/file.bin", "x"));
  EXPECT_EQ(contents("new/deep/file.bin"), "x");
}

TEST_F(Files, ArgumentsOfAWriteAreCheckedInOrder) {
  char byte = 'x';
  const struct {
    qm_file record;
    const char* refusal;
  } kCases[] = {
      {{nullptr, nullptr, -1, 9}, "(!filename)"}, {{nullptr, "x", 0, 1}, "(!data)"},
      {{&byte, "x", -1, 9}, "(!data)"},           {{&byte, "x", 1, 0}, "(!filename)"},
      {{&byte, "x", 1, 3}, "(!filename)"},
  };
  for (const auto& row : kCases) {
    qm_file record = row.record;
    EXPECT_TRUE(kernel().refuses(QM_CALL_WRITEFILE, record, failure(22, row.refusal)));
  }
  EXPECT_FALSE(exists("x"));
}

TEST_F(Files, ADirectoryIsNotReplaced) {
  fs::create_directory(folder().file("folder"));
  EXPECT_TRUE(unwritable("folder", "x", failure(21, "(file creation)")));
  EXPECT_TRUE(unwritable("folder\\", "", failure(21, "(file creation)")));
  EXPECT_TRUE(fs::is_directory(folder().file("folder")));
}

TEST_F(Files, AFileIsNoDirectory) {
  make_file("x.txt", "stays");
  for (const char* name : {"x.txt\\y", "x.txt\\y\\z"}) {
    EXPECT_TRUE(unwritable(name, "x", failure(20, "(file creation)"))) << name;
  }
  EXPECT_EQ(contents("x.txt"), "stays");
}

TEST_F(Files, AnEmptyNameCannotBeCreated) {
  EXPECT_TRUE(unwritable("", "x", failure(2, "(file creation)")));
}

// Natively the superuser may write all the same.
TEST_F(Files, AReadOnlyFileIsReadButNotReplaced) {
  make_file("file", "old");
  const fs::path file = folder().file("file");
  const fs::perms write_bits =
      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  fs::permissions(file, write_bits, fs::perm_options::remove);
  EXPECT_EQ(read("file"), "old");
  const bool may_write = std::ofstream(file, std::ios::app).is_open();
  if (may_write) {
    EXPECT_TRUE(write("file", "new"));
  } else {
    EXPECT_TRUE(unwritable("file", "new", failure(13, "(file creation)")));
  }
  EXPECT_EQ(contents("file"), may_write ? "new" : "old");
  fs::permissions(file, write_bits, fs::perm_options::add);
}

}  // namespace
}  // namespace contract
