// "qmtool inspect" on modules whose imports are not all there. "importing" imports "near", and that
// imports "far".
#include "tests/toolkit/qmtool/library_files.h"
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

class InspectImports : public ToolTest {
 protected:
  void SetUp() override { install("importing"); }

  struct Found {
    std::string cause;
    std::string problem;
    std::string advice;
  };
  Found inspect() const {
    const Json document = json({"inspect", "importing"}, 1);
    return {document["cause"], document["problem"], document["advice"]};
  }
};

void expect_mention(const std::string& text, const std::string& what) {
  EXPECT_NE(text.find(what), std::string::npos) << text;
}

TEST_F(InspectImports, FindThemAllBesideTheProgram) {
  install("near");
  install("far");
  const Json document = json({"inspect", "importing"});
  std::vector<std::string> files;
  for (const Json& import : document["imports"]) {
    if (std::string(import["file"]).starts_with(folder().string())) {
      files.push_back(std::filesystem::path(std::string(import["file"])).filename().string());
    }
  }
  EXPECT_EQ(files, (std::vector<std::string>{library("near"), library("far")}));
}

TEST_F(InspectImports, NameTheMissingOne) {
  const Found found = inspect();
  EXPECT_EQ(found.cause, "missing-import");
  expect_mention(found.problem, library("importing") + " imports " + library("near"));
  expect_mention(found.advice, library("near"));
}

TEST_F(InspectImports, NameTheMissingImportOfAnImport) {
  install("near");
  const Found found = inspect();
  EXPECT_EQ(found.cause, "missing-import");
  expect_mention(found.problem, library("near") + " imports " + library("far"));
  expect_mention(found.advice, library("far"));
}

TEST_F(InspectImports, NameTheFunctionThatIsNotThere) {
  install("far");
  install("far", "near");
  const Found found = inspect();
  EXPECT_EQ(found.cause, "missing-function");
  expect_mention(found.problem, "near_number");
}

TEST_F(InspectImports, NameTheOneForAnotherWordSize) {
  install("far");
  write(library("near"), with_other_word_size(content_of(built_library("near"))));
  const Found found = inspect();
  EXPECT_EQ(found.cause, "unfit-import");
  expect_mention(found.problem, sizeof(void*) == 4 ? "64-bit" : "32-bit");
}

TEST_F(InspectImports, NameTheOneThatIsNoLibrary) {
  install("far");
  write(library("near"), "");
  EXPECT_EQ(inspect().cause, "unfit-import");
}

TEST_F(InspectImports, MayImportEachOtherInACircle) {
  install("near");
  install("near", "far");  // imports the library of its own name
  const Found found = inspect();
  EXPECT_EQ(found.cause, "missing-function");
  expect_mention(found.problem, "far_number");
}

#ifdef _WIN32
TEST_F(InspectImports, MayBeMissingByTheHundred) {
  std::vector<std::string> libraries;
  for (int i = 0; i < 500; ++i) libraries.push_back("missing" + std::to_string(i) + ".dll");
  write(library("module"), windows_library_importing(libraries));
  const Json document = json({"inspect", "module"}, 1);
  EXPECT_EQ(document["cause"], "missing-import");
  expect_mention(document["problem"], "missing0.dll");
  EXPECT_EQ(document["imports"].size(), 500u);
}

TEST_F(InspectImports, TellThatNobodyLooksBesideTheModule) {
  std::filesystem::create_directory(folder() / "modules");
  for (const char* name : {"importing", "near", "far"}) {
    std::filesystem::copy_file(built_library(name), folder() / "modules" / library(name));
  }
  const Json document = json({"inspect", "modules\\importing.dll"}, 1);
  EXPECT_EQ(document["cause"], "missing-import");
  expect_mention(document["advice"], "beside the module");
}
#else
TEST_F(InspectImports, TellThatNobodyLooksBesideTheModule) {
  install("near");
  install("far");
  std::string content = content_of(built_library("importing"));
  content.replace(content.find("$ORIGIN"), 7, "/absent");
  write(library("importing"), content);
  const Found found = inspect();
  EXPECT_EQ(found.cause, "missing-import");
  expect_mention(found.advice, "beside the module");
}
#endif

}  // namespace
}  // namespace qmtool_test
