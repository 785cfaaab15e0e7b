#include "platform/directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

using Names = std::vector<std::string>;

std::basic_string<qm_wchar> wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

bool collect(const DirectoryEntry& entry, void* names) {
  const std::basic_string<qm_wchar> text = entry.name;
  static_cast<Names*>(names)->emplace_back(text.begin(), text.end());
  return true;
}

bool collect_one(const DirectoryEntry& entry, void* names) {
  collect(entry, names);
  return false;
}

class DirectoryTest : public testing::Test {
 protected:
  DirectoryTest() {
    for (const char* name : {"alpha.dll", "beta.dll", "alphabet.txt", "gamma"})
      folder_.add_file(name);
    std::filesystem::create_directory(folder_.path() / "folder.dll");
  }

  Names find(const std::string& pattern, VisitEntry visit = &collect) const {
    Names names;
    visit_directory(wide(folder_.path().string()).c_str(), wide(pattern).c_str(), visit, &names);
    std::sort(names.begin(), names.end());
    return names;
  }

  TemporaryFolder folder_;
};

TEST_F(DirectoryTest, FindsWhatMatchesAndFoldersToo) {
  EXPECT_EQ(find("*.dll"), (Names{"alpha.dll", "beta.dll", "folder.dll"}));
  EXPECT_EQ(find("alpha.dll"), (Names{"alpha.dll"}));
  EXPECT_EQ(find("a*"), (Names{"alpha.dll", "alphabet.txt"}));
  EXPECT_EQ(find("*a*a*l"), (Names{"alpha.dll"}));
  EXPECT_EQ(find("?eta.dll"), (Names{"beta.dll"}));
  EXPECT_EQ(find("g????"), (Names{"gamma"}));
  EXPECT_EQ(find("*mm*"), (Names{"gamma"}));
}

TEST_F(DirectoryTest, FindsNothingWhereNothingMatches) {
  EXPECT_EQ(find("x*"), Names{});
  EXPECT_EQ(find("alpha"), Names{});
  EXPECT_EQ(find("?alpha.dll"), Names{});
  EXPECT_EQ(find("alpha.dll.dll"), Names{});
}

TEST_F(DirectoryTest, LeavesOutItselfAndItsParent) {
  EXPECT_EQ(find("*"), (Names{"alpha.dll", "alphabet.txt", "beta.dll", "folder.dll", "gamma"}));
}

TEST_F(DirectoryTest, EndsWhenTheVisitorHasEnough) {
  EXPECT_EQ(find("*", &collect_one).size(), 1u);
}

TEST_F(DirectoryTest, HasNoEntriesWhenItCannotBeRead) {
  Names names;
  visit_directory(wide((folder_.path() / "missing").string()).c_str(), QM_W("*"), &collect, &names);
  visit_directory(wide(std::string(10000, 'x')).c_str(), QM_W("*"), &collect, &names);
  visit_directory(QM_W("."), wide(std::string(10000, 'x')).c_str(), &collect, &names);
  EXPECT_EQ(names, Names{});
}

TEST_F(DirectoryTest, IsTheCurrentFolderWhenItIsADot) {
  const CurrentFolderGuard here(folder_.path());
  Names names;
  visit_directory(QM_W("."), QM_W("gam*"), &collect, &names);
  EXPECT_EQ(names, (Names{"gamma"}));
}

}  // namespace
}  // namespace qmsd::platform
