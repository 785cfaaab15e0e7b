// File names that are more than ASCII, or not even UTF-8.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "platform/directory.h"
#include "platform/linux/utf8.h"
#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

using Names = std::vector<std::u16string>;

Names find(const TemporaryFolder& folder, const char16_t* pattern) {
  Names names;
  visit_directory(
      folder.path().u16string().c_str(), pattern,
      [](const DirectoryEntry& entry, void* to) {
        static_cast<Names*>(to)->emplace_back(entry.name);
        return true;
      },
      &names);
  return names;
}

TEST(DirectoryNames, AreUtf8WhateverTheLocale) {
  const TemporaryFolder folder;
  folder.add_file("\xE2\x82\xAC.so");
  EXPECT_EQ(find(folder, u"?.so"), (Names{u"\u20AC.so"}));
}

TEST(DirectoryNames, LeadBackToTheFileEvenIfTheyAreNoUtf8) {
  const TemporaryFolder folder;
  folder.add_file("\xE4.so");
  const Names names = find(folder, u"*.so");
  ASSERT_EQ(names, (Names{u"\xDCE4.so"}));
  char name[16];
  EXPECT_TRUE(narrow_utf8(names[0].c_str(), name, sizeof name));
  EXPECT_TRUE(std::filesystem::exists(folder.path() / name));
}

TEST(DirectoryNames, TakeBracketsAndBackslashesAsTheyAre) {
  const TemporaryFolder folder;
  folder.add_file("[ab].so");
  folder.add_file("a.so");
  EXPECT_EQ(find(folder, u"[ab].so"), (Names{u"[ab].so"}));
  EXPECT_EQ(find(folder, u"\\a.so"), Names{});
}

TEST(DirectoryNames, MatchManyStarsWithoutDelay) {
  const TemporaryFolder folder;
  folder.add_file(std::string(250, 'a'));
  std::u16string pattern;
  for (int i = 0; i < 60; ++i) pattern += u"*a";
  pattern += u"*b";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(find(folder, pattern.c_str()), Names{});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

}  // namespace
}  // namespace qmsd::platform
