// The runtime's locale, which the kernel sets for the whole process when it is loaded, and which
// decides what narrow text means.
#include <clocale>
#include <utility>
#include <vector>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

class StartLocale : public KernelTest {
 protected:
  StartLocale() {
    for (auto& variable : variables_) set_variable(variable.name, std::nullopt);
    std::setlocale(LC_ALL, "C");
  }
  ~StartLocale() override {
    for (const auto& variable : variables_) set_variable(variable.name, variable.before);
  }
  void SetUp() override {}

  static std::string locale_of(int category) { return std::setlocale(category, nullptr); }
  // The narrow message made of one wide character.
  std::string narrow(qm_wchar character) {
    const qm_wchar text[] = {QM_W('a'), character, QM_W('b'), 0};
    qm_set_error_w record{QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT, 1, text, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_SETERRORW, &record), 1);
    return kernel().narrow_message();
  }
  Text wide(const char* text) {
    qm_set_error_a record{QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT, 1, text, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_SETERRORA, &record), 1);
    return kernel().error().message;
  }
  // By the system first, since not every locale is installed everywhere.
  static bool is_known(const char* locale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const bool known = std::setlocale(LC_ALL, locale) != nullptr;
    std::setlocale(LC_ALL, before.c_str());
    return known;
  }

 private:
  struct Variable {
    std::string name;
    std::optional<std::string> before;
  };
  std::vector<Variable> variables_ = [] {
    std::vector<Variable> all;
    for (const char* name :
         {"LANG", "LC_ALL", "LC_COLLATE", "LC_CTYPE", "LC_MONETARY", "LC_TIME", "LC_NUMERIC"}) {
      all.push_back({name, variable(name)});
    }
    return all;
  }();
};

#ifdef _WIN32
constexpr const char* kKnownLocale = "English_United States.1252";
constexpr const char* kOtherLocale = "German_Germany.1252";
#else
constexpr const char* kKnownLocale = "C.UTF-8";
constexpr const char* kOtherLocale = "C.UTF-8";
#endif

TEST_F(StartLocale, IsTakenFromTheEnvironment) {
  for (const char* name : {"LANG", "LC_ALL"}) {
    std::setlocale(LC_ALL, "C");
    const ScopedVariable variable(name, std::string(kKnownLocale));
    load_kernel();
    for (const int category : {LC_COLLATE, LC_CTYPE, LC_MONETARY, LC_TIME}) {
      EXPECT_EQ(locale_of(category), kKnownLocale) << name << " " << category;
    }
    EXPECT_EQ(locale_of(LC_NUMERIC), "C");
  }
}

TEST_F(StartLocale, IsTakenForEachCategory) {
  const std::pair<const char*, int> categories[] = {{"LC_COLLATE", LC_COLLATE},
                                                    {"LC_CTYPE", LC_CTYPE},
                                                    {"LC_MONETARY", LC_MONETARY},
                                                    {"LC_TIME", LC_TIME}};
  for (const auto& [name, category] : categories) {
    std::setlocale(LC_ALL, "C");
    const ScopedVariable variable(name, std::string(kKnownLocale));
    load_kernel();
    for (const auto& [other_name, other] : categories) {
      EXPECT_EQ(locale_of(other), other == category ? kKnownLocale : "C") << name << other_name;
    }
  }
}

TEST_F(StartLocale, IsDecidedByTheLaterVariable) {
  const ScopedVariable lang("LANG", std::string("C"));
  const ScopedVariable all("LC_ALL", std::string(kKnownLocale));
  const ScopedVariable type("LC_CTYPE", std::string("C"));
  load_kernel();
  EXPECT_EQ(locale_of(LC_TIME), kKnownLocale);
  EXPECT_EQ(locale_of(LC_CTYPE), "C");
}

TEST_F(StartLocale, StaysAsItIsForANameTheRuntimeDoesNotKnow) {
  const ScopedVariable lang("LANG", std::string("nonsense"));
  load_kernel();
  EXPECT_EQ(locale_of(LC_CTYPE), "C");
  EXPECT_EQ(narrow(0x00E9),
            "a\xE9"
            "b")
      << "bytes map to the first 256 characters";
  EXPECT_EQ(wide("\x80\xFF"), (Text{0x80, 0xFF}));
  EXPECT_EQ(narrow(0x20AC), "a") << "text ends at the first character that cannot be converted";
}

TEST_F(StartLocale, StaysAsItIsForANameThatIsTooLong) {
  const ScopedVariable lang("LANG", std::string(2000, 'x'));
  load_kernel();
  EXPECT_EQ(locale_of(LC_CTYPE), "C");
}

TEST_F(StartLocale, IsTheUsersDefaultForAnEmptyVariable) {
  const ScopedVariable lang("LANG", std::string(kOtherLocale));
  const ScopedVariable type("LC_CTYPE", std::string());
  std::setlocale(LC_CTYPE, "");
  const std::string default_type = locale_of(LC_CTYPE);
  std::setlocale(LC_ALL, "C");
  load_kernel();
  EXPECT_EQ(locale_of(LC_CTYPE), default_type);
  EXPECT_EQ(locale_of(LC_TIME), kOtherLocale);
}

TEST_F(StartLocale, IsTheUsersDefaultWithoutAnyVariable) {
  std::setlocale(LC_ALL, "");
  const std::string default_type = locale_of(LC_CTYPE);
  std::setlocale(LC_ALL, "C");
  load_kernel();
  EXPECT_EQ(locale_of(LC_CTYPE), default_type);
  EXPECT_EQ(locale_of(LC_NUMERIC), "C");
}

TEST_F(StartLocale, LeavesNumbersAlone) {
  const ScopedVariable numeric("LC_NUMERIC", std::string(kKnownLocale));
  const ScopedVariable lang("LANG", std::string(kKnownLocale));
  load_kernel();
  EXPECT_EQ(locale_of(LC_NUMERIC), "C");
}

// Text follows the runtime's locale at the time of the call, which is the host's, too.
TEST_F(StartLocale, MayBeChangedByTheHostAtAnyTime) {
  const ScopedVariable lang("LANG", std::string("C"));
  load_kernel();
  EXPECT_EQ(narrow(0x00E9),
            "a\xE9"
            "b");
  ASSERT_NE(std::setlocale(LC_CTYPE, kKnownLocale), nullptr);
#ifdef _WIN32
  EXPECT_EQ(narrow(0x20AC),
            "a\x80"
            "b");
  EXPECT_EQ(wide("\x80"), Text(QM_W("\u20AC")));
#else
  EXPECT_EQ(narrow(0x20AC),
            "a\xE2\x82\xAC"
            "b");
  EXPECT_EQ(wide("\xE2\x82\xAC"), Text(QM_W("\u20AC")));
  EXPECT_EQ(wide("a\xF0\x9F\x98\x80"
                 "b"),
            (Text{QM_W('a'), 0xD83D, 0xDE00, QM_W('b')}));
#endif
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(narrow(0x20AC), "a");
}

// Every capacity: whole characters only, a terminator, and nothing behind it.
TEST_F(StartLocale, CutsNarrowTextBetweenCharacters) {
#ifdef _WIN32
  constexpr const char* kMultibyte = "Japanese_Japan.932";
  const qm_wchar text[] = {QM_W('a'), 0x3042, QM_W('b'), 0};
  const std::string whole =
      "a\x82\xA0"
      "b";
  constexpr std::size_t kStarts[] = {0, 1, 3, 4};
#else
  constexpr const char* kMultibyte = "C.UTF-8";
  const qm_wchar text[] = {QM_W('a'), 0x20AC, QM_W('b'), 0};
  const std::string whole =
      "a\xE2\x82\xAC"
      "b";
  constexpr std::size_t kStarts[] = {0, 1, 4, 5};
#endif
  ASSERT_TRUE(is_known(kMultibyte));
  const ScopedVariable lang("LANG", std::string(kMultibyte));
  load_kernel();
  qm_set_error_w set{QM_SET_ERROR_LITERAL | QM_SET_ERROR_NO_CODE_TEXT, 1, text, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW, &set), 1);
  for (std::int32_t size = 1; size <= 8; ++size) {
    char buffer[12];
    std::memset(buffer, '#', sizeof buffer);
    qm_get_error_a get{0, buffer, size};
    EXPECT_EQ(kernel()(QM_CALL_GETERRORA, &get), 1);
    std::size_t length = 0;
    for (const std::size_t start : kStarts) {
      if (start < static_cast<std::size_t>(size)) length = start;
    }
    EXPECT_EQ(std::string(buffer), whole.substr(0, length)) << size;
    EXPECT_EQ(buffer[size], '#') << size;
    EXPECT_EQ(buffer[size - 1], 0) << size;
  }
}

}  // namespace
}  // namespace contract
