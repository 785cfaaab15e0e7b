// What only this system's directories can hold: links, pipes, paths of any length.
#include <sys/stat.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/heap.h"
#include "services/files/find_files.h"
#include "tests/unit/files/files_support.h"
#include "tests/unit/files/linux/unprivileged.h"

namespace qmsd {
namespace {

using test::narrow;
namespace fs = std::filesystem;

class FindOddFiles : public test::FolderTest {
 protected:
  static std::vector<std::string> find(const qm_wchar* pattern, std::uint32_t flags) {
    qm_wchar** found = nullptr;
    const std::int32_t count = find_files(QM_W("."), pattern, &found, -1, flags);
    std::vector<std::string> names;
    for (std::int32_t i = 0; i < count; ++i) {
      names.push_back(narrow(found[i]));
      platform::heap_free(found[i]);
    }
    platform::heap_free(found);
    std::sort(names.begin(), names.end());
    return names;
  }
};

using List = std::vector<std::string>;

TEST_F(FindOddFiles, LinksToDirectoriesAreFoundButNotFollowed) {
  fs::create_directory("folder");
  make_file("folder/x");
  fs::create_directory_symlink("folder", "link");
  fs::create_directory_symlink(".", "loop");
  EXPECT_EQ(find(QM_W("*"), kFindDirectories), (List{".\\folder", ".\\link", ".\\loop"}));
  EXPECT_EQ(find(QM_W("x."), 0), List{".\\folder\\x"});
}

TEST_F(FindOddFiles, LinksToFilesCountAsFiles) {
  make_file("file");
  fs::create_symlink("file", "link");
  EXPECT_EQ(find(QM_W("*"), kFindRegular), (List{".\\file", ".\\link"}));
}

TEST_F(FindOddFiles, PipesAndLinksToNothingAreOthers) {
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  fs::create_symlink("nowhere", "lost");
  EXPECT_EQ(find(QM_W("*"), kFindOthers), (List{".\\lost", ".\\pipe"}));
  EXPECT_EQ(find(QM_W("*"), 0), List{});
}

TEST_F(FindOddFiles, AReadOnlyDirectoryIsSearchedOnlyIfDeniedOnesAreWanted) {
  fs::create_directory("folder");
  make_file("folder/x");
  test::make_read_only("folder");
  EXPECT_EQ(find(QM_W("x."), kFindVisible), List{".\\folder\\x"});
  EXPECT_EQ(find(QM_W("x."), kFindVisible | kFindAccessible), List{});
  EXPECT_EQ(find(QM_W("*"), kFindDirectories | kFindDenied), List{".\\folder"});
}

TEST_F(FindOddFiles, ADirectoryThatCannotBeListedIsEmpty) {
  fs::create_directories("folder/closed");
  make_file("folder/closed/x");
  make_file("folder/x");
  fs::permissions("folder/closed", fs::perms::owner_write | fs::perms::owner_exec);
  {
    const test::Unprivileged unprivileged;
    EXPECT_EQ(find(QM_W("x."), 0), List{".\\folder\\x"});
  }
  fs::permissions("folder/closed", fs::perms::owner_all);
}

// Makes directories below each other and returns the search's name for the last.
std::string make_levels(std::initializer_list<int> lengths) {
  std::string shown = ".";
  fs::path path = ".";
  for (const int length : lengths) {
    const std::string level(static_cast<std::size_t>(length), 'd');
    path /= level;
    fs::create_directory(path);
    shown += "\\" + level;
  }
  return shown;
}

TEST_F(FindOddFiles, PathsThatAreTooLongAreCutAndNotSearched) {
  const std::string cut = make_levels({60, 60, 60, 60, 60, 60}).substr(0, 279);
  EXPECT_EQ(find(QM_W("d*"), kFindDirectories),
            (List{cut.substr(0, 62), cut.substr(0, 123), cut.substr(0, 184), cut.substr(0, 245)}));
  EXPECT_EQ(find(QM_W("d*"), kFindOthers), List{cut}) << "nothing has the cut name";
}

TEST_F(FindOddFiles, ACutPathThatNamesADirectoryIsNotSearchedEither) {
  const std::string longest = make_levels({60, 60, 60, 60, 29});
  ASSERT_EQ(longest.size(), 275u) << "the longest that is searched";
  std::string native = longest;
  std::replace(native.begin(), native.end(), '\\', '/');
  const fs::path before = fs::current_path();
  fs::current_path(native);
  fs::create_directories("abc/below");
  fs::create_directories("abcdef/below");
  fs::current_path(before);
  EXPECT_EQ(find(QM_W("abc*"), kFindDirectories), (List{longest + "\\abc", longest + "\\abc"}));
  EXPECT_EQ(find(QM_W("below*"), kFindDirectories), List{});
}

}  // namespace
}  // namespace qmsd
