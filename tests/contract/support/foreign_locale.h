// Locales with another decimal point and another encoding than those of the machines that test.
#pragma once

#include <optional>
#include <string>

#include "tests/contract/support/surroundings.h"

namespace contract {

// By the names that the two runtimes know them by.
struct LocaleNames {
  const char* windows;
  const char* linux_name;
};
inline constexpr LocaleNames kGerman{"German_Germany.1252", "de_DE.ISO-8859-1"};
inline constexpr LocaleNames kJapanese{"Japanese_Japan.932", "ja_JP.EUC-JP"};

// Lets the runtime find the locale while this object lives: few machines have more installed than
// UTF-8, so those of the table are compiled with the tests.
class ForeignLocale {
 public:
  explicit ForeignLocale(const LocaleNames& names);

  const std::string& name() const { return name_; }

 private:
  std::string name_;
  std::optional<ScopedVariable> place_;
};

}  // namespace contract
