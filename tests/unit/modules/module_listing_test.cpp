// The listing of folders of test modules.
#include "modules/module_listing.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "memory/tracked_allocator.h"
#include "platform/directory.h"
#include "platform/test_hooks.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/poison.h"
#include "tests/unit/modules/module_test.h"
#include "tests/unit/modules/tracked_blocks.h"

namespace qmsd {
namespace {

constexpr std::uint32_t kVersion = 0x0102032C;  // 1.2.3.300

// A listing and its release.
template <class Record, bool (*List)(Record*)>
struct Listed {
  Record record = test::poisoned<Record>();
  explicit Listed(decltype(Record::pattern) pattern = nullptr) {
    record.pattern = pattern;
    EXPECT_TRUE(List(&record));
  }
  ~Listed() {
    for (std::int32_t i = 0; i < record.count; ++i) test::release_block(record.paths[i]);
    test::release_block(record.paths);
    test::release_block(record.versions);
  }
  Listed(const Listed&) = delete;
  Listed& operator=(const Listed&) = delete;

  Lines paths() const {
    Lines paths;
    for (std::int32_t i = 0; i < record.count; ++i) {
      const std::basic_string_view path = record.paths[i];
      paths.emplace_back(path.begin(), path.end());
      EXPECT_EQ(record.versions[i], kVersion);
    }
    return paths;
  }
};
using ListedWide = Listed<qm_list_modules_w, list_modules_wide>;
using ListedNarrow = Listed<qm_list_modules_a, list_modules_narrow>;

// No PATH, and a system directory of its own, which does not exist yet.
class ModuleListing : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    if (const char* path = std::getenv("PATH")) path_ = path;
    set_environment("PATH", "");
    system_ = folder().string() + "/system";
    system_wide_ = wide(system_);
    platform::set_system_directory(system_wide_.c_str());
    start();
  }
  void TearDown() override {
    EXPECT_EQ(test::live_blocks(), 0);
    platform::set_system_directory(nullptr);
    set_environment("PATH", path_);
    ModuleTest::TearDown();
  }

  void install_in(const std::string& directory, const std::string& module) {
    std::filesystem::create_directories(folder() / directory);
    install(module, directory + "/" + module);
  }

  static void set_path(const std::vector<std::string>& entries) {
    std::string path;
    for (const std::string& entry : entries) {
      if (&entry != entries.data()) path += static_cast<char>(platform::kListSeparator);
      path += entry;
    }
    set_environment("PATH", path);
  }

  // As the listing spells a path.
  static std::string path(const std::string& directory, const std::string& module) {
    const auto separator = static_cast<char>(platform::kPathSeparator);
    return directory + separator + module + narrow(platform::kLibraryExtension);
  }
  std::string system_path(const std::string& module) const {
    return path(path_below(system_, "qm"), module);
  }
  static std::string path_below(const std::string& directory, const std::string& name) {
    return directory + static_cast<char>(platform::kPathSeparator) + name;
  }

 private:
  std::string path_;
  std::string system_;
  WideString system_wide_;
};

TEST_F(ModuleListing, GoesFromTheCurrentDirectoryThroughThePathToTheSystemsFolder) {
  install_in("second", "tm_plain");
  install_in("first", "tm_plain");
  install_in("system/qm", "tm_plain");
  install("tm_plain");
  set_path({"first", "second"});
  const Lines expected = {path(".", "tm_plain"), path("first", "tm_plain"),
                          path("second", "tm_plain"), system_path("tm_plain")};
  EXPECT_EQ(ListedWide().paths(), expected);
  EXPECT_EQ(ListedNarrow().paths(), expected);
}

TEST_F(ModuleListing, TakesPathEntriesAsTheyAre) {
  install("tm_plain");
  install_in("sub", "tm_plain");
  set_path({"", ".", "", "", "sub/", "\"sub\"", "absent", ".", ""});
  EXPECT_EQ(ListedWide().paths(), (Lines{path(".", "tm_plain"), path(".", "tm_plain"),
                                         path("sub/", "tm_plain"), path(".", "tm_plain")}));
}

TEST_F(ModuleListing, TakesATooLongPathForAnEmptyOne) {
  install("tm_plain");
  std::string path(1021, static_cast<char>(platform::kListSeparator));
  set_environment("PATH", path + ".");
  EXPECT_EQ(ListedWide().paths().size(), 2u);
  set_environment("PATH", path + "..");
  EXPECT_EQ(ListedWide().paths().size(), 1u);  // ".." holds no modules
  set_environment("PATH", path + "./.");
  EXPECT_EQ(ListedWide().paths().size(), 1u);
}

TEST_F(ModuleListing, CutsTheDirectoryOfAPath) {
  // The system may find files there, but the path that is left leads elsewhere.
  install("tm_plain");
  install_in("sub", "tm_other");
  std::string deep = ".";
  while (deep.size() < 960) deep += "/.";
  set_path({deep + "/sub"});
  EXPECT_EQ(ListedWide().paths(), Lines{path(".", "tm_plain")});
}

TEST_F(ModuleListing, TakesAPatternWithoutExtension) {
  install("tm_plain");
  install("tm_other");
  install("tm_plain", "another");
  EXPECT_EQ(ListedWide(QM_W("tm_pl*")).paths(), Lines{path(".", "tm_plain")});
  EXPECT_EQ(ListedWide(QM_W("another")).paths(), Lines{path(".", "another")});
  EXPECT_EQ(ListedNarrow("tm_?ther").paths(), Lines{path(".", "tm_other")});
  EXPECT_EQ(ListedWide(QM_W("*")).paths().size(), 3u);
  EXPECT_EQ(ListedWide().paths().size(), 3u);
  EXPECT_EQ(ListedWide(QM_W("")).paths(), Lines{});
  EXPECT_EQ(ListedWide(QM_W("tm_plain.*")).paths(), Lines{});
}

TEST_F(ModuleListing, FindsNothingForAPatternLongerThanAnyName) {
  install("tm_plain");
  const std::string pattern(5000, '*');
  EXPECT_EQ(ListedWide(wide(pattern).c_str()).paths(), Lines{});
  EXPECT_EQ(ListedNarrow(pattern.c_str()).paths(), Lines{});
}

TEST_F(ModuleListing, LeavesOutFilesWithoutVersionAndTheirPaths) {
  for (const char* name : {"a", "c", "e"}) install("tm_noversion", name);
  for (const char* name : {"b", "d"}) install("tm_plain", name);
  EXPECT_EQ(ListedWide().paths().size(), 2u);
  EXPECT_EQ(ListedNarrow().paths().size(), 2u);
}

TEST_F(ModuleListing, OfFilesWithoutVersionOnlyIsEmpty) {
  install("tm_noversion", "a");
  install("tm_noversion", "b");
  {
    const ListedWide listed;
    EXPECT_EQ(listed.record.count, 0);
    // Nothing but the two arrays is left, and there is no path in the one place.
    EXPECT_EQ(test::live_blocks(), 2);
    EXPECT_EQ(listed.record.paths[0], nullptr);
  }
  const ListedNarrow listed;
  EXPECT_EQ(listed.record.count, 0);
  EXPECT_EQ(listed.record.paths, nullptr);
  EXPECT_NE(listed.record.versions, nullptr);
}

TEST_F(ModuleListing, OfNothingHasNoArrays) {
  const ListedWide listed;
  EXPECT_EQ(listed.record.count, 0);
  EXPECT_EQ(listed.record.paths, nullptr);
  EXPECT_EQ(listed.record.versions, nullptr);
}

TEST_F(ModuleListing, NarrowPathsHaveRoomToSpare) {
  install("tm_plain");
  const ListedNarrow listed;
  qm_mem_size size{listed.record.paths[0], 0};
  EXPECT_TRUE(memory_size(&size));
  EXPECT_EQ(static_cast<std::size_t>(size.size), path(".", "tm_plain").size() * 4 + 32);
}

TEST_F(ModuleListing, NeedsARecord) {
  EXPECT_FALSE(list_modules_wide(nullptr));
  EXPECT_ERROR(22, QM_W("Null pointer detected"));
  EXPECT_FALSE(list_modules_narrow(nullptr));
  EXPECT_ERROR(22, QM_W("Null pointer detected"));
}

TEST_F(ModuleListing, LeavesTheErrorStateAlone) {
  install("tm_plain");
  set_thread_error(77);
  { const ListedWide listed; }
  { const ListedNarrow listed; }
  EXPECT_EQ(test::thread_error().code, 77);
  EXPECT_EQ(error_message().find("marker") != std::string::npos, true);
}

// Releases what a listing has left and destroys the rest, so that the sanitizer sees any block that
// nobody can reach; half-built blocks hide others from their release.
TEST_F(ModuleListing, SkipsSilentlyWhatThereIsNoMemoryFor) {
  for (const char* name : {"a", "b"}) install("tm_plain", name);
  install("tm_noversion", "c");
  set_thread_error(77);
  const auto scenario = [](auto list, auto record) {
    test::fail_each_allocation([&] {
      tracked_destroy();
      tracked_create();
      record.pattern = nullptr;
      EXPECT_TRUE(list(&record));
      EXPECT_LE(record.count, 2);
      EXPECT_TRUE(record.count == 2 || test::allocation_refused());
      for (std::int32_t i = 0; i < record.count; ++i) EXPECT_EQ(record.versions[i], kVersion);
      EXPECT_EQ(test::thread_error().code, 77);
    });
    tracked_destroy();
    tracked_create();
  };
  scenario(list_modules_wide, qm_list_modules_w{});
  scenario(list_modules_narrow, qm_list_modules_a{});
}

TEST_F(ModuleListing, GivesANullEntryForANarrowPathWithoutMemory) {
  install("tm_plain", "a");
  install("tm_plain", "b");
  bool seen = false;
  for (int n = 1; n < 100 && !seen; ++n) {
    qm_list_modules_a record{};
    test::with_allocation_failing(n, test::Shortage::once, [&] { list_modules_narrow(&record); });
    seen = record.count == 2 && (record.paths[0] == nullptr) != (record.paths[1] == nullptr);
    tracked_destroy();
    tracked_create();
  }
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace qmsd
