// The search for files by name, kind and visibility.
#include "services/files/find_files.h"

#include <algorithm>
#include <climits>
#include <set>
#include <vector>

#include "platform/heap.h"
#include "tests/support/allocation_failures.h"
#include "tests/unit/files/files_support.h"

namespace qmsd {
namespace {

using test::narrow;
using test::wide;
using test::with_errno;
namespace fs = std::filesystem;

using Names = std::set<std::string>;

constexpr std::uint32_t kEverything = kFindRegular | kFindDirectories | kFindOthers | kFindHidden |
                                      kFindVisible | kFindAccessible | kFindDenied;

class FindFiles : public test::FolderTest {
 protected:
  // The paths found below the current folder, without it; sorted.
  static Names find(const char* pattern, std::int32_t depth, std::uint32_t flags,
                    const char* directory = ".") {
    qm_wchar** found = nullptr;
    const std::int32_t count =
        find_files(wide(directory).c_str(), wide(pattern).c_str(), &found, depth, flags);
    EXPECT_GE(count, 0);
    Names names;
    for (std::int32_t i = 0; i < count; ++i) {
      EXPECT_TRUE(names.insert(narrow(found[i])).second) << "found twice";
      platform::heap_free(found[i]);
    }
    platform::heap_free(found);
    return names;
  }
  // The search fails and leaves no results.
  static int failure(const qm_wchar* directory, const qm_wchar* pattern) {
    qm_wchar* some = nullptr;
    qm_wchar** found = &some;
    const auto [count, error] =
        with_errno([&] { return find_files(directory, pattern, &found, 0, 0); });
    EXPECT_EQ(count, -1);
    EXPECT_EQ(found, nullptr);
    return error;
  }
};

// ---- Arguments ---------------------------------------------------------------------------------

TEST_F(FindFiles, NeedsADirectoryAPatternAndAPlaceForTheResults) {
  make_file("file");
  EXPECT_EQ(failure(nullptr, QM_W("*")), EINVAL);
  EXPECT_EQ(failure(QM_W("missing"), QM_W("*")), ENOENT);
  EXPECT_EQ(failure(QM_W("file"), QM_W("*")), ENOTDIR);
  EXPECT_EQ(failure(QM_W("."), nullptr), EINVAL);
  EXPECT_EQ(failure(QM_W("."), QM_W("")), EINVAL);
  EXPECT_EQ(with_errno([] { return find_files(QM_W("."), QM_W("*"), nullptr, 0, 0); }),
            std::pair(std::int32_t{-1}, EINVAL));
}

TEST_F(FindFiles, FindsNothingInAnEmptyFolder) { EXPECT_EQ(find("*", -1, kEverything), Names{}); }

TEST_F(FindFiles, WithoutResultsThereIsNoArray) {
  make_file("file");
  qm_wchar* some = nullptr;
  qm_wchar** found = &some;
  EXPECT_EQ(find_files(QM_W("."), QM_W("other"), &found, 0, 0), 0);
  EXPECT_EQ(found, nullptr);
}

// Where the system has no room for the name and its pattern nothing is found.
TEST_F(FindFiles, TakesADirectoryNameAsLongAsASearchAllows) {
  make_file("x");
  std::string name = ".";
  while (name.size() < 275) name += "\\.";
  EXPECT_EQ(find("x.", 0, 0, name.c_str()).size(), 1u);
  EXPECT_EQ(find("x.", 0, 0, (name + "\\.").c_str()), Names{});
}

// ---- Names -------------------------------------------------------------------------------------

TEST_F(FindFiles, IgnoresCase) {
  for (const char* name : {"Report.LOG", "other.txt"}) make_file(name);
  EXPECT_EQ(find("*.log", 0, 0), Names{".\\Report.LOG"});
  EXPECT_EQ(find("REPORT.*", 0, 0), Names{".\\Report.LOG"});
  EXPECT_EQ(find("[p-r]eport.???", 0, 0), Names{".\\Report.LOG"});
}

TEST_F(FindFiles, MatchesNamesWithoutADotAsIfTheyEndedInOne) {
  for (const char* name : {"plain", "a.b"}) make_file(name);
  EXPECT_EQ(find("*.*", 0, 0), (Names{".\\plain", ".\\a.b"}));
  EXPECT_EQ(find("plain.", 0, 0), Names{".\\plain"});
  EXPECT_EQ(find("plain", 0, 0), Names{});
  EXPECT_EQ(find("*", 0, 0), (Names{".\\plain", ".\\a.b"}));
}

TEST_F(FindFiles, GivesNamesBeyondAsciiAsTheyAre) {
  const std::u16string name = u"stra\u00DFe \u03B1.TXT";
  make_file(fs::path(name));
  qm_wchar** found = nullptr;
  ASSERT_EQ(find_files(QM_W("."), QM_W("stra?e*.txt"), &found, 0, 0), 1);
  EXPECT_EQ(test::WideString(found[0]), QM_W(".\\") + test::WideString(name.begin(), name.end()));
  platform::heap_free(found[0]);
  platform::heap_free(found);
}

TEST_F(FindFiles, NeedsNoSecondSeparator) {
  fs::create_directory("sub");
  make_file("sub/x");
  EXPECT_EQ(find("*", 0, 0, "sub"), Names{"sub\\x"});
  EXPECT_EQ(find("*", 0, 0, "sub\\"), Names{"sub\\x"});
}

TEST_F(FindFiles, GrowsWithWhatItFinds) {
  for (int number = 0; number < 100; ++number) make_file("f" + std::to_string(number));
  EXPECT_EQ(find("f*", 0, 0).size(), 100u);
}

// ---- Kinds, visibility, access -----------------------------------------------------------------

struct Entry {
  const char* name;
  std::uint32_t bits;
};

constexpr Entry kEntries[] = {
    {"file", kFindRegular | kFindVisible | kFindAccessible},
    {".hidden", kFindRegular | kFindHidden | kFindAccessible},
    {"locked", kFindRegular | kFindVisible | kFindDenied},
    {".both", kFindRegular | kFindHidden | kFindDenied},
    {"folder", kFindDirectories | kFindVisible | kFindAccessible},
    {".secret", kFindDirectories | kFindHidden | kFindAccessible},
};

// The rules of absent bits, written down once more as a table of what they stand for.
std::uint32_t meant(std::uint32_t kinds, std::uint32_t visibilities, std::uint32_t accesses) {
  return (kinds == 0 ? std::uint32_t{kFindRegular} : kinds) |
         (visibilities == 0 ? std::uint32_t{kFindVisible} : visibilities) |
         (accesses == 0 ? kFindAccessible | kFindDenied : accesses);
}

TEST_F(FindFiles, TakesEveryCombinationOfFlags) {
  for (const Entry& entry : kEntries) {
    if ((entry.bits & kFindDirectories) != 0) {
      fs::create_directory(entry.name);
    } else {
      make_file(entry.name);
    }
    if ((entry.bits & kFindHidden) != 0) test::hide(entry.name);
    if ((entry.bits & kFindDenied) != 0) test::make_read_only(entry.name);
  }
  for (std::uint32_t kinds = 0; kinds < 8; ++kinds) {
    for (const std::uint32_t visibilities : {0x0u, 0x100u, 0x200u, 0x300u}) {
      for (const std::uint32_t accesses : {0x0u, 0x400u, 0x800u, 0xC00u}) {
        const std::uint32_t wanted = meant(kinds, visibilities, accesses);
        Names expected;
        for (const Entry& entry : kEntries) {
          if ((entry.bits & wanted) == entry.bits) expected.insert(".\\" + std::string(entry.name));
        }
        const std::uint32_t flags = kinds | visibilities | accesses;
        EXPECT_EQ(find("*", 0, flags), expected) << std::hex << flags;
      }
    }
  }
}

// ---- Depth -------------------------------------------------------------------------------------

class FindFilesBelow : public FindFiles {
 protected:
  FindFilesBelow() {
    fs::create_directories("a/b/c");
    for (const char* path : {"f", "a/f", "a/b/f", "a/b/c/f"}) make_file(path);
  }
};

TEST_F(FindFilesBelow, DescendsAsFarAsItMay) {
  const std::vector<std::string> files = {".\\f", ".\\a\\f", ".\\a\\b\\f", ".\\a\\b\\c\\f"};
  for (const int depth : {0, 1, 2, 3, 4, -1, -2, INT_MIN, INT_MAX}) {
    const int levels = depth < 0 || depth > 3 ? 3 : depth;
    EXPECT_EQ(find("f*", depth, 0), Names(files.begin(), files.begin() + levels + 1)) << depth;
  }
}

TEST_F(FindFilesBelow, FindsDirectoriesOnTheWay) {
  EXPECT_EQ(find("*", -1, kFindDirectories), (Names{".\\a", ".\\a\\b", ".\\a\\b\\c"}));
  EXPECT_EQ(find("b.", -1, kFindDirectories), Names{".\\a\\b"});
}

TEST_F(FindFilesBelow, DescendsIntoHiddenDirectoriesOnlyIfTheyAreWanted) {
  fs::create_directory(".secret");
  test::hide(".secret");
  make_file(".secret/f");
  EXPECT_EQ(find("f*", -1, 0).count(".\\.secret\\f"), 0u);
  EXPECT_EQ(find("f*", -1, kFindHidden), Names{}) << "what is in there is visible";
  EXPECT_EQ(find("f*", -1, kFindHidden | kFindVisible).count(".\\.secret\\f"), 1u);
}

TEST_F(FindFiles, ReachesTheBottomOfADeepTree) {
  fs::path path;
  Names expected;
  std::string name = ".";
  // As deep as every system allows.
  const auto room = 240 - static_cast<int>(folder().string().size());
  for (int level = 0; level < room / 2; ++level) {
    path /= "d";
    name += "\\d";
    fs::create_directory(path);
    expected.insert(name);
  }
  EXPECT_GT(expected.size(), 10u);
  EXPECT_EQ(find("d.", -1, kFindDirectories), expected);
}

// ---- Exhausted memory --------------------------------------------------------------------------

TEST_F(FindFilesBelow, GivesUpWhenMemoryIsExhausted) {
  test::fail_each_allocation([] {
    qm_wchar* some = nullptr;
    qm_wchar** found = &some;
    const auto [count, error] =
        with_errno([&found] { return find_files(QM_W("."), QM_W("*"), &found, -1, 0); });
    if (test::allocation_refused()) {
      EXPECT_EQ(std::pair(count, error), std::pair(std::int32_t{-1}, ENOMEM));
      EXPECT_EQ(found, nullptr);
      return;
    }
    EXPECT_EQ(count, 4);
    for (std::int32_t i = 0; i < count; ++i) platform::heap_free(found[i]);
    platform::heap_free(found);
  });
}

TEST_F(FindFilesBelow, LeavesNothingBehindWhenTheAllocatorThrows) {
  test::throw_at_each_allocation([] {
    qm_wchar** found = nullptr;
    const std::int32_t count = find_files(QM_W("."), QM_W("*"), &found, -1, 0);
    for (std::int32_t i = 0; i < count; ++i) platform::heap_free(found[i]);
    platform::heap_free(found);
  });
}

}  // namespace
}  // namespace qmsd
