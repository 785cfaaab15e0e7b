// Version texts of a test module's file, and of copies in which some bytes were changed.
#include "modules/version_info.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "memory/tracked_allocator.h"
#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"
#include "tests/unit/modules/tracked_blocks.h"

namespace qmsd {
namespace {

class VersionInfo : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
    install("tm_noversion");
    start();
  }

  static WideString file(const std::string& module) {
    return wide("./" + module) + platform::kLibraryExtension;
  }
  // Overwrites the text in the file's version block, or what lies at an offset from it.
  static void replace(const std::string& module, const std::string& text, const std::string& by,
                      std::ptrdiff_t offset = 0) {
    const std::string name = narrow(file(module));
    std::ifstream in(name, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(in), {}};
    in.close();
    const std::size_t at = content.find(as_bytes(text), content.rfind(as_bytes("VS_VERSION_INFO")));
    ASSERT_NE(at, std::string::npos) << text;
    content.replace(at + static_cast<std::size_t>(offset), by.size(), by);
    std::ofstream(name, std::ios::binary) << content;
  }
  // As 16-bit text, low byte first.
  static std::string as_bytes(const std::string& text) {
    std::string bytes;
    for (const char character : text) bytes.append({character, 0});
    return bytes;
  }

  static std::vector<std::pair<std::string, std::string>> texts(const qm_version_props* props) {
    std::vector<std::pair<std::string, std::string>> result;
    const qm_version_pair* pair = props->pairs;
    for (std::uint32_t i = 0; i < props->count; ++i, ++pair)
      result.emplace_back(narrow(pair->key), narrow(pair->value));
    return result;
  }
};

TEST_F(VersionInfo, ListsTheTextsInTheirOrder) {
  qm_version_props* props = nullptr;
  ASSERT_TRUE(read_version_info(file("tm_plain").c_str(), &props));
  const auto found = texts(props);
  ASSERT_GE(found.size(), 3u);
  EXPECT_EQ(found[0], std::pair(std::string("FileDescription"), std::string("Test module")));
  EXPECT_EQ(found[1], std::pair(std::string("FileVersion"), std::string("1.2.3.300")));
  EXPECT_EQ(found[2], std::pair(std::string("InternalName"), std::string("tm_plain")));
  test::release_block(props);
}

TEST_F(VersionInfo, FillsItsBlockExactly) {
  qm_version_props* props = nullptr;
  ASSERT_TRUE(read_version_info(file("tm_plain").c_str(), &props));
  const auto* next = reinterpret_cast<const qm_wchar*>(props->pairs + props->count);
  const qm_version_pair* pair = props->pairs;
  for (std::uint32_t i = 0; i < props->count; ++i, ++pair) {
    for (const qm_wchar* text : {pair->key, pair->value}) {
      EXPECT_EQ(text, next);
      next += WideString(text).size() + 1;
    }
  }
  const auto used = reinterpret_cast<const char*>(next) - reinterpret_cast<const char*>(props);
  qm_mem_size size{props, 0};
  EXPECT_TRUE(memory_size(&size));
  EXPECT_EQ(size.size, (used + 3) / 4 * 4);
  test::release_block(props);
}

TEST_F(VersionInfo, NarrowTwinReadsTheSame) {
  const WideString name = file("tm_plain");
  const std::string narrow_name = narrow(name);
  qm_version_info_w from_wide{name.c_str(), nullptr};
  qm_version_info_a from_narrow{narrow_name.c_str(), nullptr};
  ASSERT_TRUE(version_info_wide(&from_wide));
  ASSERT_TRUE(version_info_narrow(&from_narrow));
  EXPECT_EQ(texts(from_wide.props), texts(from_narrow.props));
  test::release_block(from_wide.props);
  test::release_block(from_narrow.props);
}

TEST_F(VersionInfo, ChecksItsArguments) {
  qm_version_info_w from_wide{};
  qm_version_info_a from_narrow{};
  EXPECT_FALSE(version_info_wide(nullptr));
  EXPECT_ERROR(22, QM_W("(!params)"));
  EXPECT_FALSE(version_info_narrow(nullptr));
  EXPECT_ERROR(22, QM_W("(!params)"));
  EXPECT_FALSE(version_info_wide(&from_wide));
  EXPECT_ERROR(22, QM_W("(fname)"));
  EXPECT_FALSE(version_info_narrow(&from_narrow));
  EXPECT_ERROR(22, QM_W("(fname)"));
  EXPECT_FALSE(read_version_info(QM_W("x"), nullptr));
  EXPECT_ERROR(22, QM_W("(pversioninfo)"));
}

TEST_F(VersionInfo, TellsWhatIsMissing) {
  for (const char* module : {"no_translation", "no_table", "no_texts"}) install("tm_plain", module);
  replace("no_translation", "Translation", "X");
  replace("no_table", "040904", "X");
  // The word before a key is its type, and 0 stands for raw data.
  for (const char* key : {"FileDescription", "FileVersion", "InternalName", "OriginalFilename",
                          "ProductName", "ProductVersion"}) {
    replace("no_texts", key, std::string(1, 0), -2);
  }
  std::ofstream(narrow(file("plain_text"))) << "no library\n";

  struct {
    const char* module;
    std::int32_t code;
    const qm_wchar* detail;
  } const rows[] = {
      {"tm_absent", 2, QM_W("(info)")},       {"tm_noversion", 2, QM_W("(info)")},
      {"plain_text", 2, QM_W("(info)")},      {"no_translation", 0x1004, QM_W("(info) 1")},
      {"no_table", 0x1004, QM_W("(info) 2")}, {"no_texts", 2, QM_W("(props)")}};
  for (const auto& row : rows) {
    qm_version_props* props = nullptr;
    EXPECT_FALSE(read_version_info(file(row.module).c_str(), &props)) << row.module;
    EXPECT_ERROR(row.code, row.detail) << row.module;
    EXPECT_EQ(props, nullptr);
  }
  EXPECT_EQ(test::live_blocks(), 0);
}

TEST_F(VersionInfo, ReusesTheBlockOfAnEarlierResult) {
  qm_version_props* props = nullptr;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(read_version_info(file("tm_plain").c_str(), &props));
  EXPECT_EQ(test::live_blocks(), 1);
  EXPECT_EQ(texts(props)[1].second, "1.2.3.300");
  test::release_block(props);
}

TEST_F(VersionInfo, LeavesTheBlockAloneUntilItHasTexts) {
  void* block = nullptr;
  ASSERT_TRUE(tracked_realloc(&block, 4, nullptr, 0));
  auto* props = static_cast<qm_version_props*>(block);
  props->count = 77;
  EXPECT_FALSE(read_version_info(file("tm_noversion").c_str(), &props));
  EXPECT_EQ(props, block);
  EXPECT_EQ(props->count, 77u);
  test::release_block(props);
}

TEST_F(VersionInfo, ReleasesTheBlockWhenThereAreNoTexts) {
  install("tm_plain", "no_texts");
  replace("no_texts", "FileDescription", as_bytes("VarFileInfo") + std::string(2, 0));
  qm_version_props* props = nullptr;
  ASSERT_TRUE(read_version_info(file("tm_plain").c_str(), &props));
  EXPECT_FALSE(read_version_info(file("no_texts").c_str(), &props));
  EXPECT_ERROR(2, QM_W("(props)"));
  EXPECT_EQ(props, nullptr);
  EXPECT_EQ(test::live_blocks(), 0);
}

TEST_F(VersionInfo, RefusesABlockThatIsNotTracked) {
  qm_version_props foreign{};
  qm_version_props* props = &foreign;
  EXPECT_FALSE(read_version_info(file("tm_plain").c_str(), &props));
  EXPECT_EQ(test::thread_error().code, 22);
  EXPECT_NE(error_message().find("No qm allocated buffer"), std::string::npos);
  EXPECT_EQ(props, &foreign);
}

TEST_F(VersionInfo, SurvivesTheFailureOfEachAllocation) {
  const WideString name = file("tm_plain");
  test::fail_each_allocation([&name] {
    tracked_destroy();
    if (!tracked_create()) return;
    qm_version_props* props = nullptr;
    const bool read = read_version_info(name.c_str(), &props);
    EXPECT_EQ(read, !test::allocation_refused());
    EXPECT_EQ(props != nullptr, read);
    EXPECT_TRUE(read || test::thread_error().code == 12);
  });
}

TEST_F(VersionInfo, PackedVersionIsThatOfTheFileAlone) {
  const test::ThreadError before = test::thread_error();
  std::uint32_t version = 0;
  EXPECT_TRUE(read_packed_version(file("tm_plain").c_str(), version));
  EXPECT_EQ(version, 0x0102032Cu);
  version = 77;
  EXPECT_FALSE(read_packed_version(file("tm_noversion").c_str(), version));
  EXPECT_FALSE(read_packed_version(file("tm_absent").c_str(), version));
  EXPECT_EQ(version, 77u);
  EXPECT_EQ(test::thread_error().code, before.code);
}

}  // namespace
}  // namespace qmsd
