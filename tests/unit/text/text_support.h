// A locale for the length of a scope, and what some texts are in it.
#pragma once

#include <clocale>
#include <string>
#include <string_view>
#include <vector>

#include "include/qmsd7.h"
#include "services/text/text.h"

namespace qmsd::test {

class LocaleScope {
 public:
  explicit LocaleScope(const char* name)
      : before_(std::setlocale(LC_ALL, nullptr)), set_(std::setlocale(LC_ALL, name) != nullptr) {}
  ~LocaleScope() { std::setlocale(LC_ALL, before_.c_str()); }
  LocaleScope(const LocaleScope&) = delete;
  LocaleScope& operator=(const LocaleScope&) = delete;

  // False when this runtime does not know the locale.
  explicit operator bool() const { return set_; }

 private:
  std::string before_;
  bool set_;
};

// One text in both forms, character by character. A null narrow character has no narrow form.
struct LocaleText {
  const char* locale;
  std::vector<WideView> wide;
  std::vector<const char*> narrow;
};

// Each runtime knows some of these locales, "C" always and one beyond it.
inline const std::vector<LocaleText>& locale_texts() {
  static const std::vector<LocaleText> texts{
      {"C", {QM_W("a"), QM_W("\u00e9"), QM_W("b")}, {"a", "\xE9", "b"}},
      {"C", {QM_W("a"), QM_W("\u20ac"), QM_W("b")}, {"a", nullptr, "b"}},
      {"German_Germany.1252", {QM_W("a"), QM_W("\u20ac"), QM_W("b")}, {"a", "\x80", "b"}},
      {"German_Germany.1252", {QM_W("a"), QM_W("\u3042"), QM_W("b")}, {"a", nullptr, "b"}},
      {"Japanese_Japan.932", {QM_W("a"), QM_W("\u3042"), QM_W("b")}, {"a", "\x82\xA0", "b"}},
      {"Japanese_Japan.932", {QM_W("a"), QM_W("\u20ac"), QM_W("b")}, {"a", nullptr, "b"}},
      {"C.UTF-8", {QM_W("a"), QM_W("\u20ac"), QM_W("b")}, {"a", "\xE2\x82\xAC", "b"}},
      {"C.UTF-8", {QM_W("a"), QM_W("\U0001F600"), QM_W("b")}, {"a", "\xF0\x9F\x98\x80", "b"}},
      {"C.UTF-8", {QM_W("a"), WideView(QM_W("\xD800"), 1), QM_W("b")}, {"a", nullptr, "b"}},
  };
  return texts;
}

}  // namespace qmsd::test
