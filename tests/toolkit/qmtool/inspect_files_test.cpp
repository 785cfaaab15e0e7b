// "qmtool inspect" on files that cannot be loaded: each has its cause.
#include "tests/toolkit/qmtool/library_files.h"
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class InspectFiles : public ToolTest {
 protected:
  Json inspect(const std::string& module) const { return json({"inspect", module}, 1); }

  // The cause, and that problem and advice are sentences.
  std::string cause_of(const std::string& module) const {
    const Json document = inspect(module);
    for (const char* sentence : {"problem", "advice"}) {
      const std::string text = document.value(sentence, "");
      EXPECT_TRUE(text.ends_with('.') && text.size() > 15) << sentence << ": " << text;
    }
    EXPECT_FALSE(document["loads"]);
    return document["cause"];
  }
  std::string cause_of_content(std::string_view content) const {
    write(library("module"), content);
    return cause_of("module");
  }
  std::string sound_library() const { return content_of(built_library("misbehaving")); }
};

TEST_F(InspectFiles, NameTheAbsentOneAndEveryFileThatWasTried) {
  const Json document = inspect("nosuchmodule");
  EXPECT_EQ(document["cause"], "absent");
  std::vector<std::string> places;
  for (const Json& tried : document["tried"]) {
    EXPECT_EQ(tried["state"], "not there");
    EXPECT_TRUE(std::string(tried["file"]).ends_with(library("nosuchmodule")));
    places.push_back(tried["where"]);
  }
  EXPECT_GE(places.size(), 3u);
  EXPECT_EQ(places.front(), "the program's folder");
  EXPECT_EQ(places.back(), "the family's folder");
}

#ifndef _WIN32
TEST_F(InspectFiles, NameTheFileOfOtherCase) {
  write(library("Module"), "");
  const Json document = inspect("module");
  EXPECT_EQ(document["cause"], "absent");
  EXPECT_TRUE(std::string(document["advice"]).ends_with(library("Module") + ".")) << document;
}
#endif

TEST_F(InspectFiles, NameTheAbsentFile) { EXPECT_EQ(cause_of("./" + library("none")), "absent"); }

TEST_F(InspectFiles, NameTheFolderInItsPlace) {
  std::filesystem::create_directory(folder() / library("module"));
  EXPECT_EQ(cause_of("./" + library("module")), "directory");
}

TEST_F(InspectFiles, NameTheEmptyOne) { EXPECT_EQ(cause_of_content(""), "empty-file"); }

TEST_F(InspectFiles, NameTheText) {
  EXPECT_EQ(cause_of_content("This is no library.\n"), "not-a-library");
}

TEST_F(InspectFiles, NameTheFileOfNoKnownKind) {
  EXPECT_EQ(cause_of_content(std::string("\1\2\3\0\xFF", 5)), "not-a-library");
}

TEST_F(InspectFiles, NameTheTruncatedOne) {
  const std::string whole = sound_library();
  EXPECT_EQ(cause_of_content(whole.substr(0, whole.size() / 4)), "truncated-file");
}

TEST_F(InspectFiles, NameTheOneThatEndsWithinItsHeaders) {
  EXPECT_EQ(cause_of_content(sound_library().substr(0, 50)), "truncated-file");
}

TEST_F(InspectFiles, NameTheDamagedOne) {
  EXPECT_EQ(cause_of_content(damaged(sound_library())), "damaged-file");
}

TEST_F(InspectFiles, NameTheOtherWordSize) {
  write(library("module"), with_other_word_size(sound_library()));
  const Json document = inspect("module");
  EXPECT_EQ(document["cause"], "other-word-size");
  EXPECT_EQ(document["bits"], sizeof(void*) == 4 ? 64 : 32);
}

TEST_F(InspectFiles, NameTheOtherSystem) {
  EXPECT_EQ(cause_of_content(for_other_system()), "other-system");
}

TEST_F(InspectFiles, NameTheOtherMachine) {
  EXPECT_EQ(cause_of_content(for_other_machine(sound_library())), "other-machine");
}

TEST_F(InspectFiles, NameTheProgramThatIsNoLibrary) {
  std::filesystem::copy_file(tool(), folder() / library("module"));
  EXPECT_EQ(cause_of("module"), "program");
}

TEST_F(InspectFiles, NameTheWrongEnding) {
  write("module.bin", sound_library());
  EXPECT_EQ(cause_of("./module.bin"), "wrong-ending");
}

TEST_F(InspectFiles, NameTheLibraryWithoutExports) {
  install("tm_nothing", "module");
  EXPECT_EQ(cause_of("module"), "no-exports");
}

TEST_F(InspectFiles, NameTheMissingInformationRecord) {
  install("tm_callonly", "module");
  EXPECT_EQ(cause_of("module"), "no-information");
}

TEST_F(InspectFiles, NameTheDecoratedExport) {
  install("decorated", "module");
  const Json document = inspect("module");
  EXPECT_EQ(document["cause"], "no-information");
  EXPECT_NE(std::string(document["problem"]).find("_qm_call"), std::string::npos);
}

TEST_F(InspectFiles, CountTheFirstOneOfThatNameFitOrNot) {
  install("misbehaving", "sound");
  std::filesystem::create_directory(folder() / "elsewhere");
  std::filesystem::rename(folder() / library("sound"), folder() / "elsewhere" / library("module"));
  write(library("module"), "text");
  const contract::ScopedVariable path("PATH", (folder() / "elsewhere").string());
  EXPECT_EQ(cause_of("module"), "not-a-library");
}

}  // namespace
}  // namespace qmtool_test
