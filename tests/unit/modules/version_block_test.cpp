// Version blocks, sound and hostile. The reader sees each in memory of exactly its size, so that
// the sanitizers see it leave.
#include "modules/version_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/expect_error.h"

namespace qmsd {
namespace {

using test::WideString;
using Words = std::vector<std::uint16_t>;
using Texts = std::vector<std::pair<WideString, WideString>>;

// As a resource compiler made it: tables 040904b0 ("CompanyName", "Empty" without a value,
// "FileVersion") and 040704E4 ("CompanyName"), translations of both, version 1.2.3.300.
// clang-format off
const Words kCompiled = {
    0x1B8, 0x34, 0, 'V', 'S', '_', 'V', 'E', 'R', 'S', 'I', 'O', 'N', '_', 'I', 'N', 'F', 'O', 0, 0,
    0x4BD, 0xFEEF, 0, 1, 2, 1, 0x12C, 3, 2, 1, 0x12C, 3, 0x3F,
    0,     0,      0, 4, 0, 2, 0,     0, 0, 0, 0,     0, 0,
    0x112, 0, 1, 'S', 't', 'r', 'i', 'n', 'g', 'F', 'i', 'l', 'e', 'I', 'n', 'f', 'o', 0,
    0xA0, 0, 1, '0', '4', '0', '9', '0', '4', 'b', '0', 0,
    0x3A, 13, 1, 'C', 'o', 'm', 'p', 'a', 'n', 'y', 'N', 'a', 'm', 'e', 0, 0,
    'S', 'o', 'm', 'e', ' ', 'C', 'o', 'm', 'p', 'a', 'n', 'y', 0, 0,
    0x16, 1, 1, 'E', 'm', 'p', 't', 'y', 0, 0, 0, 0,
    0x34, 10, 1, 'F', 'i', 'l', 'e', 'V', 'e', 'r', 's', 'i', 'o', 'n', 0, 0,
    '1', '.', '2', '.', '3', '.', '3', '0', '0', 0,
    0x4E, 0, 1, '0', '4', '0', '7', '0', '4', 'E', '4', 0,
    0x36, 11, 1, 'C', 'o', 'm', 'p', 'a', 'n', 'y', 'N', 'a', 'm', 'e', 0, 0,
    'E', 'i', 'n', 'e', ' ', 'F', 'i', 'r', 'm', 'a', 0, 0,
    0x48, 0, 1, 'V', 'a', 'r', 'F', 'i', 'l', 'e', 'I', 'n', 'f', 'o', 0, 0,
    0x28, 8, 0, 'T', 'r', 'a', 'n', 's', 'l', 'a', 't', 'i', 'o', 'n', 0, 0,
    0x409, 0x4B0, 0x407, 0x4E4};
// clang-format on

struct Read {
  VersionTable table;
  Texts texts;
};

// Also checks that every text lies in the block.
Read read(const Words& words) {
  const auto memory = std::make_unique<qm_wchar[]>(words.size());
  std::transform(words.begin(), words.end(), memory.get(),
                 [](std::uint16_t word) { return static_cast<qm_wchar>(word); });
  const VersionBlock block(memory.get(), words.size());
  const auto inside = [block](WideView text) {
    return text.data() >= block.data() && text.data() + text.size() <= block.data() + block.size();
  };
  VersionEntries entries;
  Read result{find_version_texts(block, entries), {}};
  WideView key;
  WideView value;
  while (entries.next(key, value)) {
    EXPECT_TRUE(inside(key) && inside(value));
    result.texts.emplace_back(key, value);
  }
  EXPECT_FALSE(entries.next(key, value)) << "the end stays the end";
  return result;
}

// The version, or -1 when there is none.
std::int64_t version_of(const Words& words) {
  const auto memory = std::make_unique<qm_wchar[]>(words.size());
  std::copy(words.begin(), words.end(), memory.get());
  std::uint32_t version = 0xA5A5A5A5;
  if (fixed_version({memory.get(), words.size()}, version)) return version;
  EXPECT_EQ(version, 0xA5A5A5A5) << "left alone";
  return -1;
}

// An entry to be written. What the header tells may differ from what is there.
struct Node {
  WideString key;
  std::uint16_t type = 1;
  Words value = {};
  int value_length = -1;  // -1: as long as it is, in the units of the type
  int length = -1;        // -1: as long as it is, in bytes
  std::vector<Node> children = {};
};

void write(Words& out, const Node& node) {
  if (out.size() % 2 != 0) out.push_back(0);
  const std::size_t start = out.size();
  const std::size_t value_length = node.value.size() * (node.type == 1 ? 1 : 2);
  out.insert(out.end(), {0, static_cast<std::uint16_t>(value_length), node.type});
  if (node.value_length >= 0) out[start + 1] = static_cast<std::uint16_t>(node.value_length);
  out.insert(out.end(), node.key.begin(), node.key.end());
  out.push_back(0);
  if (!node.value.empty() && out.size() % 2 != 0) out.push_back(0);
  out.insert(out.end(), node.value.begin(), node.value.end());
  for (const Node& child : node.children) write(out, child);
  const std::size_t length = (out.size() - start) * 2;
  out[start] =
      static_cast<std::uint16_t>(node.length >= 0 ? static_cast<std::size_t>(node.length) : length);
}

Node text(const WideString& key, const WideString& value) {
  Words words(value.begin(), value.end());
  words.push_back(0);
  return {key, 1, words};
}
Node translations(const Words& words) {
  return {QM_W("VarFileInfo"), 1, {}, -1, -1, {{QM_W("Translation"), 0, words}}};
}
Node english() { return translations({0x409, 0x4B0}); }
Node table(const WideString& key, std::vector<Node> texts) {
  return {key, 1, {}, -1, -1, std::move(texts)};
}
Node strings(std::vector<Node> tables) {
  return {QM_W("StringFileInfo"), 1, {}, -1, -1, std::move(tables)};
}
Node english_table(std::vector<Node> texts) {
  return strings({table(QM_W("040904B0"), std::move(texts))});
}

Words block(std::vector<Node> children, const WideString& root = QM_W("VS_VERSION_INFO")) {
  Words words;
  write(words, {root, 0, Words(26), -1, -1, std::move(children)});
  return words;
}
// The texts of the first translation's table with these entries.
Texts texts_of(std::vector<Node> entries) {
  const Read result = read(block({english_table(std::move(entries)), english()}));
  EXPECT_EQ(result.table, VersionTable::found);
  return result.texts;
}

const Node kFirst = text(QM_W("First"), QM_W("1"));
const Node kLast = text(QM_W("Last"), QM_W("2"));
const Texts kOnlyFirst = {{QM_W("First"), QM_W("1")}};
const Texts kFirstAndLast = {{QM_W("First"), QM_W("1")}, {QM_W("Last"), QM_W("2")}};

TEST(VersionBlock, OfAResourceCompilerGivesTheFirstTranslationsTexts) {
  const Read result = read(kCompiled);
  EXPECT_EQ(result.table, VersionTable::found);
  EXPECT_EQ(result.texts, (Texts{{QM_W("CompanyName"), QM_W("Some Company")},
                                 {QM_W("FileVersion"), QM_W("1.2.3.300")}}));
}

TEST(VersionBlock, PacksTheVersionWithTheLowByteOfEachPart) {
  EXPECT_EQ(version_of(kCompiled), 0x0102032C);
}

TEST(VersionBlock, MayHaveItsTranslationsFirst) {
  EXPECT_EQ(read(block({english(), english_table({kFirst})})).texts, kOnlyFirst);
}

TEST(VersionBlock, FindsTablesByTheirHexadecimalKeyInEitherCase) {
  for (const qm_wchar* key : {QM_W("0C0A04E4"), QM_W("0c0a04e4"), QM_W("0C0a04E4")}) {
    EXPECT_EQ(read(block({strings({table(key, {kFirst})}), translations({0xC0A, 0x4E4})})).texts,
              kOnlyFirst);
  }
}

TEST(VersionBlock, NeedsATranslation) {
  const Node texts = english_table({kFirst});
  const Node nameless = {QM_W("VarFileInfo"), 1, {}, -1, -1, {{QM_W("Other"), 0, {0x409, 0x4B0}}}};
  Node short_value = english();
  short_value.children[0].value_length = 3;
  for (const Words& words :
       {Words{}, Words{6}, Words{6, 0, 0}, block({}), block({texts}), block({texts, nameless}),
        block({texts, translations({})}), block({texts, translations({0x409})}),
        block({texts, short_value}), block({texts, {QM_W("Translation"), 0, {0x409, 0x4B0}}})}) {
    EXPECT_EQ(read(words).table, VersionTable::no_translation);
  }
}

TEST(VersionBlock, NeedsTheTableOfTheFirstTranslation) {
  for (const Words& words :
       {block({english()}), block({english(), strings({})}),
        block({english(), strings({table(QM_W("040704B0"), {kFirst})})}),
        block({english(), strings({table(QM_W("040904B"), {kFirst})})}),
        block({english(), strings({table(QM_W("040904B00"), {kFirst})})}),
        block({english(), table(QM_W("040904B0"), {kFirst})}),
        block({translations({0x407, 0x4B0, 0x409, 0x4B0}), english_table({kFirst})})}) {
    EXPECT_EQ(read(words).table, VersionTable::no_string_table);
  }
}

TEST(VersionBlock, MayHaveNoTexts) { EXPECT_EQ(texts_of({}), Texts{}); }

TEST(VersionEntriesWalk, SkipsWhatHasNoValue) {
  const Node no_value = {QM_W("NoValue")};
  const Node only_terminator = text(QM_W("Empty"), QM_W(""));
  const Node claims_none = {QM_W("Claims"), 1, {'x', 0}, 0};
  EXPECT_EQ(texts_of({kFirst, no_value, only_terminator, claims_none, kLast}), kFirstAndLast);
  // Without room for the value that they claim; with and without a gap behind the key.
  const Node claims = {QM_W("Ab"), 1, {}, 5};
  const Node claims_behind_gap = {QM_W("Abc"), 1, {}, 5};
  EXPECT_EQ(texts_of({kFirst, claims, claims_behind_gap, kLast}), kFirstAndLast);
}

TEST(VersionEntriesWalk, SkipsRawEntriesOfAnyLength) {
  for (int bytes = 1; bytes <= 4; ++bytes) {
    Node raw = {QM_W("Raw"), 0, Words(static_cast<std::size_t>((bytes + 1) / 2), 'x')};
    raw.value_length = bytes;
    raw.length = 16 + bytes;
    EXPECT_EQ(texts_of({kFirst, raw, kLast}), kFirstAndLast) << bytes;
  }
}

TEST(VersionEntriesWalk, SkipsTypesThatItDoesNotKnow) {
  Node unknown = text(QM_W("Unknown"), QM_W("x"));
  unknown.type = 2;
  EXPECT_EQ(texts_of({kFirst, unknown, kLast}), kFirstAndLast);
}

TEST(VersionEntriesWalk, TrustsNoValueLengthButZero) {
  for (const int length : {1, 3, 500, 0xFFFF}) {
    Node first = kFirst;
    first.value_length = length;
    EXPECT_EQ(texts_of({first, kLast}), kFirstAndLast) << length;
  }
}

TEST(VersionEntriesWalk, EndsAValueWithItsEntry) {
  Node unterminated = {QM_W("First"), 1, {'1'}};
  EXPECT_EQ(texts_of({unterminated, kLast}), kFirstAndLast);
  Node more = {QM_W("First"), 1, {'1', 0, 'x', 'y', 0}};
  EXPECT_EQ(texts_of({more, kLast}), kFirstAndLast);
}

TEST(VersionEntriesWalk, StopsAtTheKeyOfTheTranslations) {
  EXPECT_EQ(texts_of({kFirst, text(QM_W("VarFileInfo"), QM_W("x")), kLast}), kOnlyFirst);
}

TEST(VersionEntriesWalk, StopsAtALengthThatCannotBe) {
  for (const int length : {0, 1, 5, 0x7FFF, 0xFFFF}) {
    Node damaged = text(QM_W("Damaged"), QM_W("x"));
    damaged.length = length;
    EXPECT_EQ(texts_of({kFirst, damaged, kLast}), kOnlyFirst) << length;
  }
}

TEST(VersionEntriesWalk, StopsAtAKeyWithoutAnEnd) {
  Node damaged = text(QM_W("Damaged"), QM_W("x"));
  damaged.length = 6 + 14;
  EXPECT_EQ(texts_of({kFirst, damaged, kLast}), kOnlyFirst);
}

TEST(VersionEntriesWalk, StopsAtAValueThatNothingTerminatesInTheTable) {
  const Node unterminated = {QM_W("Damaged"), 1, {'x', 'y'}};
  EXPECT_EQ(texts_of({kFirst, unterminated}), kOnlyFirst);
}

TEST(VersionEntriesWalk, EndsWithTheTableUnderTheUsualRootOnly) {
  const std::vector<Node> children = {english(), english_table({kFirst}), kLast,
                                      table(QM_W("VarFileInfo"), {}),
                                      text(QM_W("Never"), QM_W("x"))};
  EXPECT_EQ(read(block(children)).texts, kOnlyFirst);
  Words other = block(children, QM_W("OTHER"));
  EXPECT_EQ(read(other).texts, kFirstAndLast);
  other[0] = 40;  // nor does the length of another root count
  EXPECT_EQ(read(other).texts, kFirstAndLast);
}

TEST(VersionEntriesWalk, EndsWithTheUsualRoot) {
  Words words = block({english(), english_table({kFirst, kLast})});
  words[0] = static_cast<std::uint16_t>(words[0] - 4);
  EXPECT_EQ(read(words).texts, kOnlyFirst);
}

TEST(FixedVersion, NeedsItsSignature) {
  EXPECT_EQ(version_of(block({})), -1);
  for (const std::size_t word : {20, 21}) {
    Words damaged = kCompiled;
    damaged[word] ^= 1;
    EXPECT_EQ(version_of(damaged), -1);
  }
}

TEST(FixedVersion, NeedsAValueOfItsLength) {
  for (const std::uint16_t length : Words{0, 2, 14}) {
    Words damaged = kCompiled;
    damaged[1] = length;
    EXPECT_EQ(version_of(damaged), -1) << length;
  }
  Words just_enough = kCompiled;
  just_enough[1] = 16;
  EXPECT_EQ(version_of(just_enough), 0x0102032C);
}

TEST(HostileVersionBlock, MayEndAnywhere) {
  const Texts whole = read(kCompiled).texts;
  for (std::size_t length = 0; length < kCompiled.size(); ++length) {
    const Words cut(kCompiled.begin(), kCompiled.begin() + static_cast<std::ptrdiff_t>(length));
    const Read result = read(cut);
    // What is left of the translations decides; they come last.
    const bool translated = length >= kCompiled.size() - 2;
    EXPECT_EQ(result.table, translated ? VersionTable::found : VersionTable::no_translation);
    EXPECT_EQ(result.texts, translated ? whole : Texts{}) << length;
    EXPECT_EQ(version_of(cut), length < 28 ? -1 : 0x0102032C) << length;
  }
}

TEST(HostileVersionBlock, GivesAPrefixOfItsTextsWhenTheyAreCutOff) {
  const Words words =
      block({english(), english_table({kFirst, text(QM_W("Second"), QM_W("x")), kLast})});
  const Texts whole = read(words).texts;
  ASSERT_EQ(whole.size(), 3u);
  std::size_t before = 0;
  for (std::size_t length = 0; length <= words.size(); ++length) {
    const Texts texts =
        read({words.begin(), words.begin() + static_cast<std::ptrdiff_t>(length)}).texts;
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), whole.begin()));
    EXPECT_GE(texts.size(), before);
    EXPECT_EQ(texts.size() == 3, length == words.size());
    before = texts.size();
  }
}

TEST(HostileVersionBlock, MayHaveAnyWordAnywhere) {
  const Words other_root = block({english(), english_table({kFirst, kLast})}, QM_W("OTHER"));
  for (const Words& sound : {kCompiled, other_root}) {
    for (std::size_t at = 0; at < sound.size(); ++at) {
      for (const std::uint16_t word : Words{0, 1, 5, 6, 7, 0x40, 0x7FFF, 0x8000, 0xFFFE, 0xFFFF}) {
        Words hostile = sound;
        hostile[at] = word;
        EXPECT_LE(read(hostile).texts.size(), 3u);
        version_of(hostile);
      }
    }
  }
}

TEST(HostileVersionBlock, MayBeAllOneWord) {
  for (const std::uint16_t word : Words{0, 1, 2, 6, 8, 'V', 0xFFFF}) {
    EXPECT_EQ(read(Words(1000, word)).texts, Texts{});
    EXPECT_EQ(version_of(Words(1000, word)), -1);
  }
}

}  // namespace
}  // namespace qmsd
