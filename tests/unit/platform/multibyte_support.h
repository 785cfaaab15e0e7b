// Tables of characters that a locale knows in both forms, and of those that it knows in none.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/multibyte.h"

namespace qmsd::platform {

using WideString = std::basic_string<qm_wchar>;

struct CharacterPair {
  std::string narrow;
  WideString wide;
};

inline WideString widened(std::string_view narrow) {
  const WideCharacter character = widen_character(narrow.data(), narrow.size());
  return character.taken == narrow.size() ? WideString(character.units, character.made)
                                          : WideString();
}

inline std::string narrowed(const WideString& wide) {
  const NarrowCharacter character = narrow_character(wide.data(), wide.size());
  return character.taken == wide.size() ? std::string(character.bytes, character.made)
                                        : std::string();
}

// The pair converts both ways, whatever follows it, and not from any part of it.
inline void expect_pair(const CharacterPair& pair) {
  EXPECT_EQ(widened(pair.narrow), pair.wide);
  EXPECT_EQ(narrowed(pair.wide), pair.narrow);
  const std::string followed = pair.narrow + "ab";
  EXPECT_EQ(widen_character(followed.data(), followed.size()).taken, pair.narrow.size());
  const WideString wide_followed = pair.wide + WideString(2, QM_W('a'));
  EXPECT_EQ(narrow_character(wide_followed.data(), wide_followed.size()).taken, pair.wide.size());
  for (std::size_t length = 1; length < pair.narrow.size(); ++length) {
    EXPECT_EQ(widen_character(pair.narrow.data(), length).taken, 0u) << length;
  }
  for (std::size_t length = 1; length < pair.wide.size(); ++length) {
    EXPECT_EQ(narrow_character(pair.wide.data(), length).taken, 0u) << length;
  }
}

inline void expect_not_narrowed(const WideString& wide) {
  EXPECT_EQ(narrow_character(wide.data(), wide.size()).taken, 0u) << std::hex << +wide[0];
}

inline void expect_not_widened(std::string_view narrow) {
  EXPECT_EQ(widen_character(narrow.data(), narrow.size()).taken, 0u);
}

}  // namespace qmsd::platform
