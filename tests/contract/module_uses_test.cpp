// Uses of modules, counted beside the kernel: whatever mixture of opens, calls and releases comes,
// a library is loaded exactly as long as the count says.
#include <array>
#include <cstddef>
#include <iterator>
#include <map>
#include <random>
#include <string>

#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

constexpr std::uint32_t kSomeCode = 0x12340001;
constexpr std::uint32_t kLog = QM_GROUP_HANDLE(0x1101);

// What keeps modules loaded, by their own names.
class Uses {
 public:
  bool any(const std::string& module) const {
    const auto found = uses_.find(module);
    return found != uses_.end() && found->second > 0;
  }
  void open(const std::string& module) { ++uses_[module]; }
  void call(const std::string& module, std::uint32_t code) {
    // The use of the call that loads the module stays. There is nothing to load for a close.
    const bool closes = code == QM_CALL_CLOSEHANDLE || code == QM_CALL_UNREFHANDLE;
    if (!any(module) && !closes && code != QM_CALL_REFHANDLE) uses_[module] = 1;
  }
  void call_instance(const std::string& module, std::uint32_t code) {
    const bool of_the_family = module.starts_with("qm");
    if (code == QM_CALL_CLOSEHANDLE && any(module) && !of_the_family) {
      --uses_[module];
    } else {
      call(module, code);
    }
  }

 private:
  std::map<std::string, int> uses_;
};

class ModuleUses : public ModuleTest {
 protected:
  void SetUp() override {
    for (const char* module : kModules) install(module);
  }

  void begin(std::uint32_t seed) {
    load_kernel_with_store("/default/viewer=tm_plain : fast\n/default/qmlog=tm_other");
    random_.seed(seed);
    uses_ = {};
    opened_.clear();
  }
  std::size_t below(std::size_t limit) { return random_() % limit; }

  void open_something() {
    constexpr struct {
      const qm_wchar* name;
      const char* module;
    } kNames[] = {{QM_W("tm_plain"), "tm_plain"},
                  {QM_W("viewer"), "tm_plain"},
                  {QM_W("tm_other"), "tm_other"},
                  {QM_W("qmtm_family"), "qmtm_family"}};
    const auto& chosen = kNames[below(std::size(kNames))];
    opened_[open(chosen.name)] = {chosen.module, 1};
    uses_.open(chosen.module);
  }

  void call_something() {
    constexpr std::uint32_t kCodes[] = {kSomeCode, QM_CALL_CLOSEHANDLE, QM_CALL_REFHANDLE,
                                        QM_CALL_UNREFHANDLE};
    const std::uint32_t code = kCodes[below(std::size(kCodes))];
    if (opened_.empty() || below(4) == 0) {
      EXPECT_EQ(kernel().through(kLog, code), 1);
      uses_.call("tm_other", code);
    } else {
      const auto chosen = any_opened();
      EXPECT_EQ(kernel().through(chosen->first, code), 1);
      uses_.call_instance(chosen->second.module, code);
    }
  }

  void reference_something() {
    if (opened_.empty()) return;
    const auto chosen = any_opened();
    qm_handle_ref record{chosen->first};
    EXPECT_EQ(kernel()(QM_CALL_REFHANDLE, &record), 1);
    ++chosen->second.references;
  }

  void release_something() {
    if (opened_.empty()) return;
    const auto chosen = any_opened();
    const bool last = --chosen->second.references == 0;
    EXPECT_EQ(close(chosen->first), last);
    if (!last) return;
    uses_.call_instance(chosen->second.module, QM_CALL_CLOSEHANDLE);
    opened_.erase(chosen);
  }

  bool anything_opened() const { return !opened_.empty(); }
  void expect_loaded_as_counted() const {
    for (const std::string module : kModules) {
      EXPECT_EQ(is_loaded(module), uses_.any(module)) << module;
    }
  }

 private:
  struct Opened {
    std::string module;
    int references;
  };
  static constexpr std::array kModules = {"tm_plain", "tm_other", "qmtm_family"};

  std::map<std::uint32_t, Opened>::iterator any_opened() {
    return std::next(opened_.begin(), static_cast<std::ptrdiff_t>(below(opened_.size())));
  }

  std::mt19937 random_;
  Uses uses_;
  std::map<std::uint32_t, Opened> opened_;
};

TEST_F(ModuleUses, DecideHowLongALibraryStaysLoaded) {
  for (std::uint32_t seed = 1; seed <= 5; ++seed) {
    begin(seed);
    for (int step = 0; step < 200 && !HasFailure(); ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      switch (below(5)) {
        case 0:
          open_something();
          break;
        case 1:
        case 2:
          call_something();
          break;
        case 3:
          reference_something();
          break;
        default:
          release_something();
      }
      expect_loaded_as_counted();
    }
    while (anything_opened()) release_something();
    expect_loaded_as_counted();
  }
}

}  // namespace
}  // namespace contract
