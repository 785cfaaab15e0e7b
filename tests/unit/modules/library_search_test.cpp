// Where module libraries are found, and what is said when they are not.
#include "modules/library_search.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "platform/test_hooks.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

class LibrarySearch : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    system_ = wide((folder() / "system").string());
    std::filesystem::create_directories(folder() / "system/qm");
    platform::set_system_directory(system_.c_str());
    start();
  }
  void TearDown() override {
    platform::set_system_directory(nullptr);
    ModuleTest::TearDown();
  }

  OwnedLibrary load(const std::string& name) {
    return load_module_library(wide(name).c_str(), path_);
  }
  std::string loaded_path() const { return narrow(path_); }

  // The system's words for a file, without the blanks at their end.
  static WideString words_for(const WideString& file) {
    platform::LoadFailure failure;
    EXPECT_FALSE(platform::open_library(file.c_str(), failure));
    WideString words = failure.text;
    while (!words.empty() && words.back() <= QM_W(' ')) words.pop_back();
    return words;
  }
  // What is said about a name that is in neither place, or unfit in the second.
  WideString failure_of(const std::string& name) const {
    const std::string separator(1, static_cast<char>(platform_separator()));
    const WideString file =
        system_ + wide(separator + "qm" + separator + name) + platform::kLibraryExtension;
    return QM_W("('") + wide(name) + QM_W("'->'") + words_for(file) + QM_W("')");
  }
  static qm_wchar platform_separator() { return std::filesystem::path::preferred_separator; }

  void write_unfit(const std::string& name) {
    std::ofstream(folder() / (name + narrow(platform::kLibraryExtension))) << "no library\n";
  }

 private:
  WideString system_;
  qm_wchar path_[kModuleTextLength] = {};
};

TEST_F(LibrarySearch, FindsALibraryByTheSystemsRules) {
  install("tm_plain");
  const OwnedLibrary library = load("tm_plain");
  ASSERT_TRUE(library);
  EXPECT_TRUE(std::filesystem::equivalent(
      loaded_path(), folder() / ("tm_plain" + narrow(platform::kLibraryExtension))));
}

TEST_F(LibrarySearch, FindsALibraryInTheSystemsFolder) {
  install("tm_plain", "system/qm/tm_plain");
  const OwnedLibrary library = load("tm_plain");
  ASSERT_TRUE(library);
  EXPECT_TRUE(std::filesystem::equivalent(
      loaded_path(), folder() / ("system/qm/tm_plain" + narrow(platform::kLibraryExtension))));
}

TEST_F(LibrarySearch, PrefersTheSystemsRulesToItsFolder) {
  install("tm_plain");
  install("tm_plain", "system/qm/tm_plain");
  const OwnedLibrary library = load("tm_plain");
  EXPECT_EQ(loaded_path().find("system"), std::string::npos);
}

TEST_F(LibrarySearch, GoesOnToTheSystemsFolderWhenTheFirstFileIsUnfit) {
  write_unfit("tm_plain");
  install("tm_plain", "system/qm/tm_plain");
  EXPECT_TRUE(load("tm_plain"));
}

TEST_F(LibrarySearch, TellsNameAndTheSystemsWords) {
  for (const char* name : {"tm_absent", "", " ", "a.b", "%s%n"}) {
    EXPECT_FALSE(load(name)) << name;
    EXPECT_ERROR(0x1000, failure_of(name).c_str());
  }
  EXPECT_NE(words_for(QM_W("tm_absent")), QM_W(""));
}

TEST_F(LibrarySearch, TellsTheSecondFailureWhenBothAttemptsFail) {
  write_unfit("bad");
  EXPECT_FALSE(load("bad"));
  EXPECT_ERROR(0x1000, failure_of("bad").c_str());
  EXPECT_NE(
      failure_of("bad").find(words_for(WideString(QM_W("bad")) + platform::kLibraryExtension)), 0u);
}

TEST_F(LibrarySearch, HasWordsForAnUnfitFileInTheSystemsFolder) {
  write_unfit("system/qm/bad");
  EXPECT_FALSE(load("bad"));
  EXPECT_ERROR(0x1000, failure_of("bad").c_str());
  EXPECT_EQ(error_message().find("->'')"), std::string::npos);
}

TEST_F(LibrarySearch, SurvivesNamesBeyondItsBuffers) {
  EXPECT_FALSE(load(std::string(5000, 'x')));
  EXPECT_EQ(test::thread_error().code, 0x1000);
}

TEST_F(LibrarySearch, LibrariesAreUnloadedOnce) {
  install("tm_plain");
  {
    OwnedLibrary first = load("tm_plain");
    OwnedLibrary second = std::move(first);
    EXPECT_FALSE(first);
    first = std::move(second);
    EXPECT_TRUE(first);
    EXPECT_EQ(journal(), Lines{"tm_plain load"});
    OwnedLibrary& same = first;
    first = std::move(same);
    EXPECT_TRUE(first);
  }
  EXPECT_EQ(journal(), Lines{"tm_plain unload"});
}

TEST_F(LibrarySearch, AReleasedLibraryStaysLoaded) {
  install("tm_plain");
  OwnedLibrary library = load("tm_plain");
  const platform::Library kept = library.release();
  EXPECT_FALSE(library);
  library.reset();
  EXPECT_EQ(journal(), Lines{"tm_plain load"});
  library.reset(kept);
  library.reset();
  EXPECT_EQ(journal(), Lines{"tm_plain unload"});
}

}  // namespace
}  // namespace qmsd
