// The property module and the example modules under the real kernel.
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "examples/counter/excounter.h"
#include "examples/greeter/exgreeter.h"
#include "tests/contract/support/kernel_test.h"
#include "tests/toolkit/property_test.h"

namespace toolkit_test {
namespace {

// The kernel with these modules, and a property file, in its current directory.
class WithKernel : public contract::KernelTest {
 protected:
  void SetUp() override {}

  void start(std::string_view properties,
             std::initializer_list<const char*> modules = {"exgreeter", "excounter"}) {
    set_content(folder().file("qmproperty.toml"), properties);
    folder().install("qmproperty", "qmproperty");
    for (const char* module : modules) folder().install(module, module);
    load_kernel();
  }

  bool call(std::uint32_t handle, std::uint32_t function, void* record) const {
    return kernel().through(handle, function, record) == 1;
  }
  std::string error() const { return contract::printable(kernel().error().message); }

  // The greeting, or none with the error in the thread's error state.
  std::optional<Text> greet(std::uint32_t handle, const qm_wchar* name) {
    exgreeter_greet_w record{name, nullptr};
    if (!call(handle, EXGREETER_GREETW, &record)) return std::nullopt;
    Text text(record.text);
    release(record.text);
    return text;
  }
  std::optional<std::int32_t> add(std::uint32_t handle, std::int32_t step) const {
    excounter_add record{step, -1};
    if (!call(handle, EXCOUNTER_ADD, &record)) return std::nullopt;
    return record.value;
  }
};

using PropertiesInKernel = WithKernel;
using GreeterExample = WithKernel;
using CounterExample = WithKernel;

constexpr std::uint32_t kCounterGroup = QM_GROUP_HANDLE(0x1200);

TEST_F(PropertiesInKernel, GroupsOfTheFileReachTheirModules) {
  start("[default.groups]\nx1200 = \"excounter\"\n");
  EXPECT_EQ(add(kCounterGroup, 3), 3);
  EXPECT_EQ(add(QM_GROUP_HANDLE(0x1201), 3), std::nullopt);
  EXPECT_NE(error().find("modname?(h=ffff1201)"), std::string::npos) << error();
}

TEST_F(PropertiesInKernel, ErrorTextsOfTheFileLeadTheMessages) {
  start("[default.groups]\nx1200 = \"excounter\"\n[default.error]\nx8101 = \"Zu viel: \u00e4\"\n");
  EXPECT_EQ(add(kCounterGroup, EXCOUNTER_LIMIT + 1), std::nullopt);
  EXPECT_EQ(kernel().error(),
            (contract::Error{EXCOUNTER_ERROR_LIMIT, QM_W("Zu viel: \u00e4 [excounter] 0 + 1001")}));
}

TEST_F(PropertiesInKernel, AliasesOfTheFileNameModuleAndGroup) {
  start(
      "[default]\nwelcome = \"exgreeter : formal\"\nplain = \"exgreeter\"\n"
      "[formal]\ngreeting = \"Good evening\"\n");
  const std::uint32_t welcome = open(QM_W("welcome"));
  EXPECT_EQ(greet(welcome, QM_W("Ada")), QM_W("Good evening, Ada!"));
  EXPECT_TRUE(close(welcome));
  const std::uint32_t plain = open(QM_W("plain"));
  EXPECT_EQ(greet(plain, QM_W("Ada")), QM_W("Hello, Ada!"));
  EXPECT_TRUE(close(plain));
}

TEST_F(PropertiesInKernel, AliasesAreLookedForInTheCallersGroup) {
  start("[team]\nwelcome = \"exgreeter : team\"\ngreeting = \"Hi\"\n");
  const std::uint32_t handle = open(QM_W("welcome"), QM_W("team"));
  EXPECT_EQ(greet(handle, QM_W("Ada")), QM_W("Hi, Ada!"));
  EXPECT_TRUE(close(handle));
}

TEST_F(PropertiesInKernel, ModuleWithoutAnAliasKeepsTheLoadingError) {
  start("[default]\n");
  qm_open_module_w record{QM_W("a%sb%n"), nullptr, 0};
  EXPECT_FALSE(call(0, QM_CALL_OPENMODULEW, &record));
  EXPECT_EQ(kernel().error().code, QM_ERROR_LOAD);
  EXPECT_NE(error().find("('a%sb%n'->'"), std::string::npos) << error();
  EXPECT_EQ(error().find("qmproperty"), std::string::npos) << "the vain look-up left no trace";
}

TEST_F(PropertiesInKernel, OpenInstanceReadsAndWrites) {
  start("key = \"value\"\n");
  const std::uint32_t handle = open(QM_W("qmproperty"));
  qm_property_write_w change{QM_W("/key"), QM_W("other")};
  EXPECT_TRUE(call(handle, QM_PROPERTY_WRITEW, &change));
  qm_wchar text[10];
  qm_property_text record{QM_W("/key"), text, 10};
  EXPECT_TRUE(call(QM_PROPERTY_HANDLE, QM_PROPERTY_READW, &record));
  EXPECT_EQ(Text(text), QM_W("other"));
  EXPECT_TRUE(call(handle, QM_PROPERTY_SAVE, nullptr)) << error();
  EXPECT_EQ(content_of(folder().file("qmproperty.toml")), "key = \"other\"\n");
  EXPECT_TRUE(close(handle));
}

TEST_F(PropertiesInKernel, MissingNodeIsError2InTheCallersThread) {
  start("key = \"value\"\n");
  qm_wchar text[10];
  qm_property_text record{QM_W("/none"), text, 10};
  EXPECT_FALSE(call(QM_PROPERTY_HANDLE, QM_PROPERTY_READW, &record));
  EXPECT_EQ(kernel().error(),
            (contract::Error{
                2, contract::runtime_text(2) + QM_W(" [qmproperty] '/none' does not exist")}));
}

TEST_F(PropertiesInKernel, FileThatIsNoTomlDoesNotDisturbTheStart) {
  constexpr std::string_view kBroken = "[default.groups]\nx1200 = excounter\n";
  start(kBroken);
  EXPECT_EQ(kernel().error(), (contract::Error{0, {}}));
  qm_wchar text[10];
  qm_property_text record{QM_W("/default/groups"), text, 10};
  EXPECT_FALSE(call(QM_PROPERTY_HANDLE, QM_PROPERTY_LISTW, &record));
  EXPECT_EQ(kernel().error().code, 14);
  EXPECT_NE(error().find("qmproperty.toml, line 2, column 9: "), std::string::npos) << error();
  EXPECT_FALSE(call(QM_PROPERTY_HANDLE, QM_PROPERTY_SAVE, nullptr));
  EXPECT_EQ(content_of(folder().file("qmproperty.toml")), kBroken);
}

TEST_F(PropertiesInKernel, NextLoadReadsTheFileAnew) {
  start("[default.groups]\nx1200 = \"excounter\"\n");
  EXPECT_EQ(add(kCounterGroup, 1), 1);
  unload_kernel();
  set_content(folder().file("qmproperty.toml"), "[default.groups]\nx1203 = \"excounter\"\n");
  load_kernel();
  EXPECT_EQ(add(kCounterGroup, 1), std::nullopt);
  EXPECT_EQ(add(QM_GROUP_HANDLE(0x1203), 1), 1) << "and the modules are fresh, too";
}

// The kernel closes what is open after the modules' own destructors have run.
TEST_F(PropertiesInKernel, ProcessMayEndWithOpenHandles) {
  start("[formal]\ngreeting = \"Good evening\"\n");
  const auto end_with_open_handles = [&] {
    open(QM_W("qmproperty"));
    open(QM_W("exgreeter"), QM_W("formal"));
    open(QM_W("excounter"));
    qm_property_write_w change{QM_W("/key"), QM_W("value")};
    call(QM_PROPERTY_HANDLE, QM_PROPERTY_WRITEW, &change);
    std::exit(7);
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(end_with_open_handles(), testing::ExitedWithCode(7), "");
}

TEST_F(GreeterExample, GreetsInTheWordsOfItsGroup) {
  start("[formal]\ngreeting = \"Good evening\"\n");
  const std::uint32_t formal = open(QM_W("exgreeter"), QM_W("formal"));
  const std::uint32_t plain = open(QM_W("exgreeter"), QM_W("unknown"));
  EXPECT_EQ(greet(formal, QM_W("\u65e5")), QM_W("Good evening, \u65e5!"));
  EXPECT_EQ(greet(plain, QM_W("")), QM_W("Hello, !"));
  EXPECT_TRUE(close(formal));
  EXPECT_TRUE(close(plain));
}

TEST_F(GreeterExample, RefusesWhatItCannotDo) {
  start("[default.groups]\nx1201 = \"exgreeter\"\n");
  const std::uint32_t handle = open(QM_W("exgreeter"));
  EXPECT_EQ(greet(handle, nullptr), std::nullopt);
  EXPECT_NE(error().find("[exgreeter] (!name)"), std::string::npos) << error();
  EXPECT_EQ(greet(QM_GROUP_HANDLE(0x1201), QM_W("Ada")), std::nullopt);
  EXPECT_EQ(kernel().error().code, 2);
  EXPECT_FALSE(call(handle, EXGREETER_GREETW, nullptr));
  EXPECT_EQ(kernel().error().code, 22);
  EXPECT_FALSE(call(handle, 0x12010001, nullptr));
  EXPECT_EQ(kernel().error().code, 22);
  EXPECT_TRUE(close(handle));
}

TEST_F(GreeterExample, InstancesComeAndGo) {
  start("");
  std::vector<std::uint32_t> handles;
  for (int i = 0; i < 100; ++i) handles.push_back(open(QM_W("exgreeter")));
  EXPECT_TRUE(close(handles.front()));
  handles.front() = open(QM_W("exgreeter"));
  for (const std::uint32_t handle : handles) {
    EXPECT_EQ(greet(handle, QM_W("Ada")), QM_W("Hello, Ada!"));
    EXPECT_TRUE(close(handle));
  }
}

TEST_F(CounterExample, InstancesCountOnTheirOwn) {
  start("[default.groups]\nx1200 = \"excounter\"\n");
  const std::uint32_t one = open(QM_W("excounter"));
  const std::uint32_t two = open(QM_W("excounter"));
  EXPECT_EQ(add(one, 5), 5);
  EXPECT_EQ(add(two, -7), -7);
  EXPECT_EQ(add(kCounterGroup, 1), 1);
  EXPECT_EQ(add(one, 1), 6);
  EXPECT_TRUE(call(one, EXCOUNTER_RESET, nullptr));
  EXPECT_EQ(add(one, 0), 0);
  EXPECT_EQ(add(two, 0), -7);
  EXPECT_TRUE(close(one));
  EXPECT_TRUE(close(two));
}

TEST_F(CounterExample, StaysWithinItsLimits) {
  start("");
  const std::uint32_t handle = open(QM_W("excounter"));
  EXPECT_EQ(add(handle, EXCOUNTER_LIMIT), EXCOUNTER_LIMIT);
  for (const std::int32_t step : {1, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(add(handle, step), std::nullopt);
    EXPECT_EQ(kernel().error().code, EXCOUNTER_ERROR_LIMIT);
    EXPECT_NE(error().find("[excounter] 1000 + " + std::to_string(step)), std::string::npos)
        << error();
  }
  EXPECT_EQ(add(handle, 0), EXCOUNTER_LIMIT);
  EXPECT_TRUE(close(handle));
}

TEST_F(CounterExample, CountsForManyThreads) {
  start("[default.groups]\nx1200 = \"excounter\"\n");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int count = 0; count < 250; ++count) add(kCounterGroup, 1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(add(kCounterGroup, 0), 1000);
}

}  // namespace
}  // namespace toolkit_test
