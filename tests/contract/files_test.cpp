// Whole files: reading into tracked blocks, writing with the directories that are missing.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void make_file(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

class Files : public KernelTest {
 protected:
  // An output record: data and size hold nothing that a call may leave by chance.
  static qm_file reading(const char* name, std::int32_t kind = QM_FILE_NAME_NARROW) {
    auto record = poisoned<qm_file>();
    record.filename = name;
    record.kind = kind;
    return record;
  }
  static qm_file writing(const char* name, std::string& text) {
    return {text.data(), name, static_cast<std::int32_t>(text.size()), QM_FILE_NAME_NARROW};
  }

  std::string read(const void* name, std::int32_t kind = QM_FILE_NAME_NARROW) {
    auto record = reading(nullptr, kind);
    record.filename = name;
    if (kernel()(QM_CALL_READFILE, &record) != 1) {
      ADD_FAILURE() << kernel().narrow_message();
      return {};
    }
    const std::string text(static_cast<const char*>(record.data),
                           static_cast<std::size_t>(record.size));
    release(record.data);
    return text;
  }
  bool write(const char* name, std::string text) {
    auto record = writing(name, text);
    return kernel()(QM_CALL_WRITEFILE, &record) == 1;
  }
  void expect_unreadable(qm_file record, const Failure& expected, std::int32_t size) {
    EXPECT_TRUE(kernel().fails(QM_CALL_READFILE, &record, expected));
    EXPECT_EQ(record.data, nullptr);
    EXPECT_EQ(record.size, size);
  }
};

// ---- Reading -----------------------------------------------------------------------------------

class FileSizes : public Files, public testing::WithParamInterface<std::size_t> {};

TEST_P(FileSizes, AreReadWhole) {
  std::string text(GetParam(), '\0');
  for (std::size_t at = 0; at < text.size(); ++at) text[at] = static_cast<char>(at * 7);
  make_file(folder().file("data.bin"), text);
  EXPECT_EQ(read("data.bin"), text);
  EXPECT_EQ(read(QM_W("data.bin"), QM_FILE_NAME_WIDE), text);
}

INSTANTIATE_TEST_SUITE_P(Some, FileSizes, testing::Values(1, 3, 4, 4096, 5 * 1024 * 1024));

TEST_F(Files, AnEmptyOneGivesNoBlock) {
  make_file(folder().file("empty"), "");
  auto record = reading("empty");
  EXPECT_EQ(kernel()(QM_CALL_READFILE, &record), 1);
  EXPECT_EQ(record.size, 0);
  EXPECT_EQ(record.data, nullptr);
}

TEST_F(Files, BothSlashesSeparate) {
  fs::create_directory(folder().file("a"));
  make_file(folder().file("a") / "b", "found");
  for (const char* name : {"a/b", "a\\b", "a//b", "a\\\\b", "a/b/", ".\\a/b"}) {
    EXPECT_EQ(read(name), "found") << name;
  }
}

TEST_F(Files, NamesMayHoldVariables) {
  fs::create_directory(folder().file("a"));
  make_file(folder().file("a") / "b", "found");
  const ScopedVariable variable("QMSD_TEST_FOLDER", "a");
  EXPECT_EQ(read("%QMSD_TEST_FOLDER%/b"), "found");
}

TEST_F(Files, RunsOfDotsAreCutToTwo) {
  fs::create_directory(folder().file("a"));
  make_file(folder().file("b"), "above");
  EXPECT_EQ(read("a\\....\\b"), "above");
}

TEST_F(Files, NamesBeyondAsciiWork) {
  const fs::path name = fs::path(std::u16string(u"stra\u00DFe"));
  make_file(folder().path() / name, "wide");
  EXPECT_EQ(read(QM_W("stra\x00DF"
                      "e"),
                 QM_FILE_NAME_WIDE),
            "wide");
}

TEST_F(Files, AMissingNameIsRefused) {
  auto record = poisoned<qm_file>();
  record.filename = nullptr;
  EXPECT_TRUE(kernel().refuses(QM_CALL_READFILE, record, failure(22, "(!filename)")));
}

TEST_F(Files, AnUnknownKindOfNameIsRefused) {
  for (const std::int32_t kind : {0, 3, -1}) {
    expect_unreadable(reading("x", kind), failure(22, "(!filename)"), 0);
  }
}

TEST_F(Files, AMissingFileHasTheSizeMinusOne) {
  expect_unreadable(reading("missing"), failure(2, "(file)"), -1);
  expect_unreadable(reading(""), failure(2, "(file)"), -1);
}

TEST_F(Files, ADirectoryCannotBeRead) {
  fs::create_directory(folder().file("folder"));
  expect_unreadable(reading("folder"), failure(13, "(file)"), -1);
}

TEST_F(Files, TooLargeForASignedSizeIsOutOfRange) {
  for (const std::uintmax_t size : {std::uintmax_t{0x7FFFFFFB}, std::uintmax_t{0x100000005}}) {
    make_file(folder().file("sparse"), "");
    fs::resize_file(folder().file("sparse"), size);
    expect_unreadable(reading("sparse"), failure(34, "(file)"), -1);
  }
}

// ---- Writing -----------------------------------------------------------------------------------

TEST_F(Files, AreWrittenAndReplaced) {
  EXPECT_TRUE(write("out", "a longer text"));
  EXPECT_TRUE(write("out", "short"));
  EXPECT_EQ(contents(folder().file("out")), "short");
}

TEST_F(Files, AreWrittenEmpty) {
  EXPECT_TRUE(write("out", ""));
  EXPECT_TRUE(fs::exists(folder().file("out")));
  EXPECT_EQ(contents(folder().file("out")), "");
}

TEST_F(Files, MissingDirectoriesAreMade) {
  EXPECT_TRUE(write("new\\deep/file.bin", "x"));
  EXPECT_EQ(contents(folder().file("new") / "deep" / "file.bin"), "x");
}

TEST_F(Files, WhatIsWrittenCanBeRead) {
  std::string text = "round trip";
  qm_file record{text.data(),
                 QM_W("stra\x00DF"
                      "e/datei"),
                 static_cast<std::int32_t>(text.size()), QM_FILE_NAME_WIDE};
  EXPECT_EQ(kernel()(QM_CALL_WRITEFILE, &record), 1);
  EXPECT_EQ(read(QM_W("stra\x00DF"
                      "e\\datei"),
                 QM_FILE_NAME_WIDE),
            text);
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
  EXPECT_FALSE(fs::exists(folder().file("x")));
}

TEST_F(Files, ADirectoryIsNotReplaced) {
  fs::create_directory(folder().file("folder"));
  std::string text = "x";
  auto record = writing("folder", text);
  EXPECT_TRUE(kernel().refuses(QM_CALL_WRITEFILE, record, failure(21, "(file creation)")));
}

// Natively the superuser may write all the same.
TEST_F(Files, AReadOnlyFileIsReadButNotReplaced) {
  make_file(folder().file("file"), "old");
  const fs::perms write = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  fs::permissions(folder().file("file"), write, fs::perm_options::remove);
  EXPECT_EQ(read("file"), "old");
  const bool may_write = std::ofstream(folder().file("file"), std::ios::app).is_open();
  std::string text = "new";
  auto record = writing("file", text);
  if (may_write) {
    EXPECT_EQ(kernel()(QM_CALL_WRITEFILE, &record), 1);
  } else {
    EXPECT_TRUE(kernel().refuses(QM_CALL_WRITEFILE, record, failure(13, "(file creation)")));
  }
  EXPECT_EQ(contents(folder().file("file")), may_write ? "new" : "old");
  fs::permissions(folder().file("file"), write, fs::perm_options::add);
}

TEST_F(Files, AnUnknownVariableStaysInTheName) {
  const ScopedVariable variable("QMSD_TEST_FOLDER", "a");
  EXPECT_TRUE(write("%QMSD_TEST_NONE%QMSD_TEST_FOLDER%", "x"));
  EXPECT_EQ(contents(folder().file("%QMSD_TEST_NONE%QMSD_TEST_FOLDER%")), "x");
}

TEST_F(Files, AreOneTrackedBlockEach) {
  make_file(folder().file("file"), "contents");
  const int before = kernel().live_blocks();
  auto record = reading("file");
  EXPECT_EQ(kernel()(QM_CALL_READFILE, &record), 1);
  EXPECT_EQ(kernel().live_blocks(), before + 1);
  qm_mem_size size{record.data, 0};
  EXPECT_EQ(kernel()(QM_CALL_MEMSIZE, &size), 1);
  EXPECT_EQ(size.size, record.size);
  release(record.data);
}

TEST_F(Files, AFileIsNoDirectory) {
  make_file(folder().file("x.txt"), "stays");
  std::string text = "x";
  auto record = writing("x.txt\\y", text);
  EXPECT_TRUE(kernel().refuses(QM_CALL_WRITEFILE, record, failure(20, "(file creation)")));
  EXPECT_EQ(contents(folder().file("x.txt")), "stays");
}

TEST_F(Files, AnEmptyNameCannotBeCreated) {
  std::string text = "x";
  auto record = writing("", text);
  EXPECT_TRUE(kernel().fails(QM_CALL_WRITEFILE, &record, failure(2, "(file creation)")));
}

TEST_F(Files, ManyThreadsWriteBelowOneNewDirectory) {
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'i'; ++letter) {
    threads.emplace_back([this, letter] {
      const std::string name = std::string("new/deep/") + letter;
      EXPECT_TRUE(write(name.c_str(), std::string(1000, letter)));
      EXPECT_EQ(read(name.c_str()), std::string(1000, letter));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace contract
