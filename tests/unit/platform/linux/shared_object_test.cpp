// Real libraries of the system, copied under names that nothing else has.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <math.h>

#include <string>

#include "platform/library.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

namespace fs = std::filesystem;

class Opened {
 public:
  explicit Opened(const std::u16string& file) : library_(open_library(file.c_str(), failure_)) {}
  ~Opened() { close_library(library_); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  explicit operator bool() const { return static_cast<bool>(library_); }
  void* find(const char* name) const { return find_symbol(library_, name); }
  std::u16string path() const {
    qm_wchar path[512];
    library_path(library_, path, 512);
    return path;
  }
  std::u16string words() const { return failure_.text; }

 private:
  LoadFailure failure_{};
  Library library_;
};

// Any library that depends on another one.
fs::path real_library() { return Opened(u"libm.so.6").path(); }

class CopiedLibrary {
 public:
  explicit CopiedLibrary(const fs::path& to) : path_(to) { fs::copy_file(real_library(), to); }
  ~CopiedLibrary() { fs::remove(path_); }
  CopiedLibrary(const CopiedLibrary&) = delete;
  CopiedLibrary& operator=(const CopiedLibrary&) = delete;

 private:
  fs::path path_;
};

fs::path executable_folder() { return fs::read_symlink("/proc/self/exe").parent_path(); }

TEST(SharedObject, IsFoundWhereTheLoaderLooks) {
  const Opened library(u"libm.so.6");
  ASSERT_TRUE(library);
  EXPECT_NE(library.find("cos"), nullptr);
  EXPECT_EQ(library.path().front(), u'/');
}

TEST(SharedObject, IsFoundBesideTheExecutableFirst) {
  const TemporaryFolder folder;
  const CurrentFolderGuard here(folder.path());
  const CopiedLibrary current(folder.path() / "qmsd_probe.so");
  EXPECT_EQ(Opened(u"qmsd_probe.so").path(), (folder.path() / "qmsd_probe.so").u16string());
  const CopiedLibrary beside(executable_folder() / "qmsd_probe.so");
  EXPECT_EQ(Opened(u"qmsd_probe.so").path(), (executable_folder() / "qmsd_probe.so").u16string());
}

TEST(SharedObject, KeepsItsFullPathWhenTheFolderChanges) {
  const TemporaryFolder folder;
  const TemporaryFolder elsewhere;
  const CurrentFolderGuard here(folder.path());
  const CopiedLibrary copy(folder.path() / "qmsd_probe.so");
  const Opened library(u"qmsd_probe.so");
  const CurrentFolderGuard there(elsewhere.path());
  EXPECT_EQ(library.path(), (folder.path() / "qmsd_probe.so").u16string());
}

TEST(SharedObject, IsOpenedByItsPathAlone) {
  const TemporaryFolder folder;
  const CurrentFolderGuard here(folder.path());
  const CopiedLibrary copy(folder.path() / "qmsd_probe.so");
  EXPECT_TRUE(Opened(u"./qmsd_probe.so"));
  EXPECT_EQ(Opened(u"./qmsd_probe.so").path(), (folder.path() / "qmsd_probe.so").u16string());
  EXPECT_TRUE(Opened(folder.path().u16string() + u"/qmsd_probe.so"));
  EXPECT_FALSE(Opened(u"/qmsd_probe.so"));
}

TEST(SharedObject, MayHaveANameBeyondAscii) {
  const TemporaryFolder folder;
  const CurrentFolderGuard here(folder.path());
  const CopiedLibrary copy(folder.path() / u"\u20AC\U0001F600.so");
  const Opened library(u"\u20AC\U0001F600.so");
  ASSERT_TRUE(library);
  EXPECT_EQ(library.path(), (folder.path() / u"\u20AC\U0001F600.so").u16string());
}

TEST(SharedObject, FindsOnlyItsOwnNames) {
  const Opened library(u"libm.so.6");
  ASSERT_NE(::dlsym(RTLD_DEFAULT, "malloc"), nullptr);
  EXPECT_EQ(library.find("malloc"), nullptr);
  EXPECT_EQ(library.find("qmsd_no_such_name"), nullptr);
}

TEST(SharedObject, KeepsItsNamesToItself) {
  const TemporaryFolder folder;
  const CopiedLibrary copy(folder.path() / "qmsd_probe.so");
  const Opened library(folder.path().u16string() + u"/qmsd_probe.so");
  ASSERT_TRUE(library);
  EXPECT_NE(library.find("cos"), ::dlsym(RTLD_DEFAULT, "cos"));
}

TEST(SharedObject, NamesTheFileThatDoesNotFit) {
  const TemporaryFolder folder;
  const CurrentFolderGuard here(folder.path());
  folder.add_file("qmsd_bad.so", "just text");
  const Opened library(u"qmsd_bad.so");
  EXPECT_FALSE(library);
  EXPECT_NE(library.words().find((folder.path() / "qmsd_bad.so").u16string()),
            std::u16string::npos);
}

TEST(SharedObject, CutsItsPath) {
  LoadFailure failure;
  const Library library = open_library(u"libm.so.6", failure);
  qm_wchar path[8] = u"~~~~~~~";
  library_path(library, path, 4);
  EXPECT_EQ(std::u16string(path).size(), 3u);
  EXPECT_EQ(path[4], u'~');
  close_library(library);
}

}  // namespace
}  // namespace qmsd::platform
