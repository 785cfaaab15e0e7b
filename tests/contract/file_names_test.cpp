// The names of files: separators, dots, variables, and text beyond ASCII of both kinds.
#include <clocale>
#include <filesystem>
#include <string>

#include "tests/contract/support/file_test.h"

namespace contract {
namespace {

namespace fs = std::filesystem;

class FileNames : public FileTest {};

TEST_F(FileNames, BothSlashesSeparate) {
  fs::create_directory(folder().file("a"));
  make_file("a/b", "found");
  for (const char* name : {"a/b", "a\\b", "a//b", "a\\\\b", "a/b/", "a\\b\\\\", ".\\a/b"}) {
    EXPECT_EQ(read(name), "found") << name;
    EXPECT_TRUE(write(name, "found")) << name;
  }
}

TEST_F(FileNames, RunsOfDotsAreCutToTwo) {
  fs::create_directory(folder().file("a"));
  make_file("b", "above");
  EXPECT_EQ(read("a\\....\\b"), "above");
  EXPECT_EQ(read("a\\...\\b"), "above");
}

TEST_F(FileNames, MayHoldVariables) {
  const ScopedVariable name("QMSD_TEST_FOLDER", "new");
  EXPECT_TRUE(write("%QMSD_TEST_FOLDER%/b", "found"));
  EXPECT_EQ(contents("new/b"), "found");
  EXPECT_EQ(read("%QMSD_TEST_FOLDER%/b"), "found");
  EXPECT_EQ(read(QM_W("%QMSD_TEST_FOLDER%\\b")), "found");
}

// Slashes and dots of the value count like those of the name.
TEST_F(FileNames, AreNormalisedWithTheirVariables) {
  fs::create_directories(folder().file("a") / "b");
  make_file("a/file", "found");
  const ScopedVariable name("QMSD_TEST_FOLDER", "a//b/");
  EXPECT_EQ(read("%QMSD_TEST_FOLDER%/.../file"), "found");
}

TEST_F(FileNames, AnUnknownVariableStaysInTheName) {
  const ScopedVariable variable("QMSD_TEST_FOLDER", "a");
  EXPECT_TRUE(write("%QMSD_TEST_NONE%QMSD_TEST_FOLDER%", "x"));
  EXPECT_EQ(contents("%QMSD_TEST_NONE%QMSD_TEST_FOLDER%"), "x");
}

TEST_F(FileNames, MayHoldASinglePercentSign) {
  EXPECT_TRUE(write("50% of it", "x"));
  EXPECT_EQ(contents("50% of it"), "x");
}

// ---- Beyond ASCII ------------------------------------------------------------------------------

constexpr qm_wchar kGerman[] = {'s', 't', 'r', 'a', 0x00DF, 'e', ' ', 0x20AC, 0};
constexpr qm_wchar kGreek[] = {0x03B1, 0x03B2, '\\', 0x03B3, 0};
constexpr qm_wchar kPair[] = {'p', 0xD83D, 0xDE00, 0};  // two units, one character

fs::path system_name(const qm_wchar* name) {
  std::u16string text(name, name + TextView(name).size());
  for (char16_t& unit : text) unit = unit == u'\\' ? u'/' : unit;
  return fs::path(text);
}

TEST_F(FileNames, WideOnesHoldAnyCharacter) {
  for (const qm_wchar* name : {kGerman, kGreek, kPair}) {
    EXPECT_TRUE(write(name, "text")) << printable(name);
    EXPECT_TRUE(exists(system_name(name))) << printable(name);
    EXPECT_EQ(read(name), "text") << printable(name);
  }
}

// The kernel takes its locale from the environment.
#ifdef _WIN32
constexpr char kLocale[] = "German_Germany.1252";
constexpr char kNarrowGerman[] =
    "stra\xDF"
    "e \x80";
constexpr char kLocaleWithPairs[] = "Japanese_Japan.932";
constexpr char kCutPair[] = "a\x81";
#else
constexpr char kLocale[] = "C.UTF-8";
constexpr char kNarrowGerman[] =
    "stra\xC3\x9F"
    "e \xE2\x82\xAC";
constexpr char kLocaleWithPairs[] = "C.UTF-8";
constexpr char kCutPair[] = "a\xC3";
#endif

class NarrowFileNames : public FileTest {
 protected:
  void SetUp() override {}
  void load_kernel_in(const char* locale) {
    const ScopedVariable variable("LC_ALL", locale);
    load_kernel();
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), locale);
  }
};

TEST_F(NarrowFileNames, MeanTheSameFileAsWideOnes) {
  load_kernel_in(kLocale);
  EXPECT_TRUE(write(kNarrowGerman, "written by its narrow name"));
  EXPECT_EQ(contents(system_name(kGerman)), "written by its narrow name");
  EXPECT_EQ(read(kGerman), "written by its narrow name");

  EXPECT_TRUE(write(kGerman, "written by its wide name"));
  EXPECT_EQ(read(kNarrowGerman), "written by its wide name");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder().path()), {}), 1);
}

TEST_F(NarrowFileNames, MakeTheDirectoriesThatTheyName) {
  load_kernel_in(kLocale);
  const std::string below = std::string(kNarrowGerman) + "/" + kNarrowGerman;
  EXPECT_TRUE(write(below.c_str(), "x"));
  EXPECT_EQ(contents(system_name(kGerman) / system_name(kGerman)), "x");
}

TEST_F(NarrowFileNames, ThatAreNoTextAreRefused) {
  load_kernel_in(kLocaleWithPairs);
  EXPECT_TRUE(unreadable(reading(kCutPair), failure(22, "(filename)"), 0));
  EXPECT_TRUE(unwritable(kCutPair, "x", failure(22, "(filename)")));
  EXPECT_TRUE(fs::is_empty(folder().path()));
}

}  // namespace
}  // namespace contract
