// The version texts of a file as one block that the caller releases.
#include <fstream>
#include <utility>
#include <vector>

#include "tests/contract/support/module_test.h"
#include "tests/contract/support/version_file.h"

namespace contract {
namespace {

using Pairs = std::vector<std::pair<Text, Text>>;

class VersionInfo : public ModuleTest {
 protected:
  static constexpr std::uint16_t kEnglish = 0x0409;
  static constexpr std::uint16_t kUnicode = 0x04B0;
  static VersionNode table(const Text& name, std::vector<VersionNode> entries) {
    return {name, 1, {}, 0, std::move(entries)};
  }
  static VersionNode english(std::vector<VersionNode> entries) {
    return version_tables({table(QM_W("040904b0"), std::move(entries))});
  }
  static VersionNode english_translation() { return version_translations({{kEnglish, kUnicode}}); }

  Text file_with(const VersionNode& root) {
    const auto file = folder().file("version" + std::to_string(++files_) + kLibraryExtension);
    write_version_file(file, version_bytes(root));
    return widen(file.string());
  }
  // The file's texts, which must all lie in the block; the block is released.
  Pairs texts_of(const Text& file) {
    qm_version_info_w record{file.c_str(), nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VERSIONINFOW, &record), 1)
        << testing::PrintToString(kernel().error());
    const Pairs pairs = read(record.props);
    if (record.props != nullptr) release(record.props);
    return pairs;
  }
  Pairs read(const qm_version_props* props) {
    Pairs pairs;
    if (props == nullptr) return pairs;
    qm_mem_size size{const_cast<qm_version_props*>(props), 0};
    EXPECT_EQ(kernel()(QM_CALL_MEMSIZE, &size), 1) << "the block is tracked";
    std::size_t expected =
        offsetof(qm_version_props, pairs) + props->count * sizeof props->pairs[0];
    const qm_version_pair* pair = props->pairs;
    for (std::uint32_t i = 0; i < props->count; ++i, ++pair) {
      for (const qm_wchar* text : {pair->key, pair->value}) {
        const auto offset =
            reinterpret_cast<const char*>(text) - reinterpret_cast<const char*>(props);
        EXPECT_EQ(static_cast<std::size_t>(offset), expected) << "the texts follow each other";
        expected += (Text(text).size() + 1) * sizeof(qm_wchar);
      }
      pairs.emplace_back(pair->key, pair->value);
    }
    EXPECT_EQ(size.size, static_cast<std::int32_t>((expected + 3) / 4 * 4));
    return pairs;
  }
  testing::AssertionResult fails(const Text& file, const Failure& expected) {
    qm_version_info_w record{file.c_str(), nullptr};
    return kernel().refuses(QM_CALL_VERSIONINFOW, record, expected);
  }

 private:
  int files_ = 0;
};

TEST_F(VersionInfo, IsThatOfAModulesFile) {
  install("tm_plain");
  const Pairs pairs =
      texts_of(widen(folder().file(std::string("tm_plain") + kLibraryExtension).string()));
  const auto expect = [&pairs](const Text& key, const Text& value) {
    for (const auto& [found, its_value] : pairs) {
      if (found == key) {
        EXPECT_EQ(its_value, value);
        return;
      }
    }
    ADD_FAILURE() << "no " << printable(key);
  };
  expect(QM_W("FileDescription"), QM_W("Test module"));
  expect(QM_W("FileVersion"), QM_W("1.2.3.300"));
  expect(QM_W("InternalName"), QM_W("tm_plain"));
}

TEST_F(VersionInfo, IsFoundByANarrowOrRelativeNameToo) {
  install("tm_plain");
  const std::string name = std::string("tm_plain") + kLibraryExtension;
  const Pairs whole = texts_of(widen(folder().file(name).string()));
  EXPECT_EQ(texts_of(widen(name)), whole);
  qm_version_info_a record{name.c_str(), nullptr};
  EXPECT_EQ(kernel()(QM_CALL_VERSIONINFOA, &record), 1);
  EXPECT_EQ(read(record.props), whole);
  release(record.props);
}

TEST_F(VersionInfo, KeepsTheOrderOfTheEntries) {
  const Pairs pairs = texts_of(file_with(version_root(
      {english({version_text(QM_W("Zeta"), QM_W("1")), version_text(QM_W("alpha"), QM_W("two")),
                version_text(QM_W("Mu"), QM_W("a longer value: \u20AC"))}),
       english_translation()})));
  EXPECT_EQ(pairs, (Pairs{{QM_W("Zeta"), QM_W("1")},
                          {QM_W("alpha"), QM_W("two")},
                          {QM_W("Mu"), QM_W("a longer value: \u20AC")}}));
}

TEST_F(VersionInfo, SkipsEntriesWithoutAValue) {
  VersionNode without{QM_W("Without"), 1, {}, 0, {}};
  const Pairs pairs = texts_of(file_with(version_root(
      {english({without, version_text(QM_W("A"), QM_W("1")), version_text(QM_W("Empty"), {}),
                version_text(QM_W("B"), QM_W("2")), without}),
       english_translation()})));
  EXPECT_EQ(pairs, (Pairs{{QM_W("A"), QM_W("1")}, {QM_W("B"), QM_W("2")}}));
}

TEST_F(VersionInfo, SkipsRawEntries) {
  VersionNode raw{QM_W("Raw"), 0, {1, 2, 3, 4, 5}, 5, {}};
  const Pairs pairs = texts_of(file_with(version_root(
      {english({version_text(QM_W("A"), QM_W("1")), raw, version_text(QM_W("B"), QM_W("2"))}),
       english_translation()})));
  EXPECT_EQ(pairs, (Pairs{{QM_W("A"), QM_W("1")}, {QM_W("B"), QM_W("2")}}));
}

TEST_F(VersionInfo, ReadsTheTableOfTheFirstTranslationOnly) {
  const VersionNode english_table = table(QM_W("040904b0"), {version_text(QM_W("E"), QM_W("1"))});
  const VersionNode german_table = table(QM_W("040704b0"), {version_text(QM_W("G"), QM_W("2"))});
  const VersionNode tables = version_tables({english_table, german_table});
  EXPECT_EQ(texts_of(file_with(version_root(
                {tables, version_translations({{0x0409, kUnicode}, {0x0407, kUnicode}})}))),
            (Pairs{{QM_W("E"), QM_W("1")}}));
  EXPECT_EQ(texts_of(file_with(version_root(
                {tables, version_translations({{0x0407, kUnicode}, {0x0409, kUnicode}})}))),
            (Pairs{{QM_W("G"), QM_W("2")}}));
}

TEST_F(VersionInfo, EndsWithItsTable) {
  EXPECT_EQ(texts_of(file_with(version_root(
                {english_translation(), english({version_text(QM_W("A"), QM_W("1"))})}))),
            (Pairs{{QM_W("A"), QM_W("1")}}));
  EXPECT_EQ(texts_of(file_with(version_root(
                {english({version_text(QM_W("A"), QM_W("1"))}), english_translation()}))),
            (Pairs{{QM_W("A"), QM_W("1")}}));
}

// ---- Failures ----------------------------------------------------------------------------------

TEST_F(VersionInfo, NeedsAFileName) {
  for (const std::uint32_t code : {QM_CALL_VERSIONINFOW, QM_CALL_VERSIONINFOA}) {
    auto record = poisoned<qm_version_info_w>();
    record.file = nullptr;
    EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(fname)")));
  }
}

TEST_F(VersionInfo, IsMissingWithoutAFileOrAResource) {
  install("tm_noversion");
  std::ofstream(folder().file("text.txt")) << "text\n";
  for (const std::string& name :
       {std::string("absent.dll"), std::string("text.txt"), std::string(),
        std::string("tm_noversion") + kLibraryExtension, folder().path().string()}) {
    EXPECT_TRUE(fails(widen(name), failure(2, "(info)"))) << name;
    auto record = poisoned<qm_version_info_a>();
    record.file = name.c_str();
    EXPECT_TRUE(kernel().refuses(QM_CALL_VERSIONINFOA, record, failure(2, "(info)"))) << name;
  }
}

TEST_F(VersionInfo, ExpandsNoVariables) {
  const ScopedVariable name("QMSD_TEST_NAME", std::string("tm_plain"));
  install("tm_plain");
  EXPECT_TRUE(
      fails(widen(std::string("%QMSD_TEST_NAME%") + kLibraryExtension), failure(2, "(info)")));
}

TEST_F(VersionInfo, CutsANarrowNameAt259Bytes) {
  const std::string name = std::string(".") + std::string(400, 'x');
  qm_version_info_a record{name.c_str(), nullptr};
  EXPECT_TRUE(kernel().refuses(QM_CALL_VERSIONINFOA, record, failure(2, "(info)")));
  // A name that becomes the right one by the cut.
  install("tm_plain");
  const std::string file = std::string("tm_plain") + kLibraryExtension;
  std::string padded;
  while (padded.size() + 2 + file.size() <= 259) padded += "./";
  if ((padded.size() + file.size()) % 2 == 0) padded.insert(1, "/");
  const std::string fits = padded + file;
  ASSERT_EQ(fits.size(), 259u);
  const std::string cut = fits + "behind";
  record.file = cut.c_str();
  EXPECT_EQ(kernel()(QM_CALL_VERSIONINFOA, &record), 1) << testing::PrintToString(kernel().error());
  if (record.props != nullptr) release(record.props);
}

TEST_F(VersionInfo, NeedsATranslation) {
  EXPECT_TRUE(fails(file_with(version_root({english({version_text(QM_W("A"), QM_W("1"))})})),
                    failure(0x1004, "(info) 1")));
  EXPECT_TRUE(fails(file_with(version_root({})), failure(0x1004, "(info) 1")));
  EXPECT_TRUE(fails(file_with(version_root(
                        {english({version_text(QM_W("A"), QM_W("1"))}), version_translations({})})),
                    failure(0x1004, "(info) 1")));
}

TEST_F(VersionInfo, NeedsTheTableOfTheTranslation) {
  EXPECT_TRUE(fails(file_with(version_root({english_translation()})), failure(0x1004, "(info) 2")));
  EXPECT_TRUE(fails(file_with(version_root({english({version_text(QM_W("A"), QM_W("1"))}),
                                            version_translations({{0x0407, kUnicode}})})),
                    failure(0x1004, "(info) 2")));
}

TEST_F(VersionInfo, NeedsATextWithAValue) {
  EXPECT_TRUE(
      fails(file_with(version_root({english({}), english_translation()})), failure(2, "(props)")));
  EXPECT_TRUE(fails(
      file_with(version_root({english({version_text(QM_W("Empty"), {})}), english_translation()})),
      failure(2, "(props)")));
}

// ---- The caller's block ------------------------------------------------------------------------

TEST_F(VersionInfo, ReusesTheCallersBlock) {
  const Text small = file_with(
      version_root({english({version_text(QM_W("A"), QM_W("1"))}), english_translation()}));
  const Text big = file_with(version_root({english({version_text(QM_W("A"), Text(1000, QM_W('v'))),
                                                    version_text(QM_W("B"), QM_W("2"))}),
                                           english_translation()}));
  qm_version_info_w record{small.c_str(), nullptr};
  for (const Text& file : {small, big, small, big, big}) {
    record.file = file.c_str();
    EXPECT_EQ(kernel()(QM_CALL_VERSIONINFOW, &record), 1);
    EXPECT_EQ(read(record.props).size(), file == small ? 1u : 2u);
    EXPECT_EQ(kernel().live_blocks(), 1);
  }
  release(record.props);
}

TEST_F(VersionInfo, ReleasesTheCallersBlockWhenThereAreNoTexts) {
  const Text none = file_with(version_root({english({}), english_translation()}));
  qm_version_info_w record{none.c_str(), static_cast<qm_version_props*>(allocate(100))};
  EXPECT_TRUE(kernel().fails(QM_CALL_VERSIONINFOW, &record, failure(2, "(props)")));
  EXPECT_EQ(record.props, nullptr);
  EXPECT_EQ(kernel().live_blocks(), 0);
}

TEST_F(VersionInfo, LeavesTheCallersBlockAloneOnOtherFailures) {
  void* block = allocate(100);
  const Text without_table = file_with(version_root({english_translation()}));
  for (const Text& file : {without_table, Text(QM_W("absent.dll"))}) {
    qm_version_info_w record{file.c_str(), static_cast<qm_version_props*>(block)};
    EXPECT_EQ(kernel()(QM_CALL_VERSIONINFOW, &record), 0);
    EXPECT_EQ(record.props, block);
    EXPECT_EQ(kernel().live_blocks(), 1);
  }
  release(block);
}

TEST_F(VersionInfo, TakesNoForeignBlock) {
  const Text file = file_with(
      version_root({english({version_text(QM_W("A"), QM_W("1"))}), english_translation()}));
  std::uint32_t foreign = 0;
  auto* props = reinterpret_cast<qm_version_props*>(&foreign);
  // Header, one pair, "A" and "1" with their terminators.
  const int size =
      static_cast<int>(offsetof(qm_version_props, pairs) + sizeof(qm_version_pair) + 8);
  qm_version_info_w record{file.c_str(), props};
  EXPECT_TRUE(kernel().refuses(
      QM_CALL_VERSIONINFOW, record,
      failure(22, "No qm allocated buffer: %s, %i ([0]: )", pointer_digits(props).c_str(), size)));
  EXPECT_EQ(foreign, 0u);
}

}  // namespace
}  // namespace contract
