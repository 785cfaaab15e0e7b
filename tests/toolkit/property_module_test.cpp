// The property module as a module: exports, handles, refusals, files that are no TOML, threads.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/toolkit/property_test.h"

namespace toolkit_test {
namespace {

using PropertyModule = PropertyTest;
using PropertyFile = PropertyTest;
using PropertyThreads = PropertyTest;

TEST_F(PropertyModule, InformationIsExportedAndAnswered) {
  start(std::nullopt);
  const auto* const exported = static_cast<const qm_module_info*>(library().find("qmmoduleinfo"));
  ASSERT_NE(exported, nullptr);
  qm_info_request request{};
  ASSERT_EQ(call(QM_CALL_GETKERNELINFO, &request), 1);
  for (const qm_module_info* info : {exported, request.info}) {
    EXPECT_EQ(info->id, QM_MODULE_ID);
    EXPECT_EQ(info->version, 0x01000000u);
    EXPECT_EQ(contract::widen(info->description), info->description_wide);
    EXPECT_EQ(info->call(0, QM_CALL_GETKERNELINFO, &request), 1);
  }
}

TEST_F(PropertyModule, InstancesAreTheSameTree) {
  start("key = \"value\"\n");
  qm_open_module_w first{QM_W("qmproperty"), nullptr, 0};
  qm_open_module_w second{QM_W("qmproperty"), QM_W("group"), 0};
  ASSERT_EQ(call(QM_CALL_OPENMODULEW, &first), 1);
  ASSERT_EQ(call(QM_CALL_OPENMODULEW, &second), 1);
  EXPECT_NE(first.handle, 0u);
  qm_property_write_w change{QM_W("/key"), QM_W("other")};
  ASSERT_EQ(call(QM_PROPERTY_WRITEW, &change, first.handle), 1);
  qm_wchar text[10];
  qm_property_text record{QM_W("/key"), text, 10};
  ASSERT_EQ(call(QM_PROPERTY_READW, &record, second.handle), 1);
  EXPECT_EQ(Text(text), QM_W("other"));
  EXPECT_EQ(call(QM_CALL_CLOSEHANDLE, nullptr, first.handle), 1);
  EXPECT_EQ(call(QM_PROPERTY_READW, &record, second.handle), 1);
  EXPECT_EQ(call(QM_CALL_CLOSEHANDLE, nullptr, second.handle), 1);
}

TEST_F(PropertyModule, CallsItDoesNotKnowAreRefused) {
  start(std::nullopt);
  for (const std::uint32_t code : {0x11000007u, 0x1100000Au, 0x10000000u, 0x10030001u, 0u}) {
    EXPECT_EQ(call(code, nullptr), 0);
    EXPECT_EQ(reported().code, 22);
    EXPECT_EQ(reported().message, "[qmproperty] (function)");
  }
  EXPECT_EQ(call(QM_PROPERTY_SAVE, nullptr, 4711), 0);
  EXPECT_EQ(reported().code, 22);
  EXPECT_EQ(reported().message, "[qmproperty] (handle)");
}

TEST_F(PropertyModule, RecordsAreChecked) {
  start(std::nullopt);
  for (const std::uint32_t code :
       {QM_PROPERTY_READW, QM_PROPERTY_READA, QM_PROPERTY_WRITEW, QM_PROPERTY_WRITEA,
        QM_PROPERTY_REMOVEW, QM_PROPERTY_REMOVEA, QM_PROPERTY_LISTW, QM_PROPERTY_LISTA,
        std::uint32_t{QM_CALL_OPENMODULEW}}) {
    EXPECT_EQ(call(code, nullptr), 0);
    EXPECT_EQ(reported().code, 22);
    EXPECT_EQ(reported().message, "[qmproperty] (!ptr)");
  }
  qm_wchar buffer[4];
  qm_property_text no_path{nullptr, buffer, 4};
  qm_property_text no_text{QM_W("/"), nullptr, 4};
  qm_property_text no_room{QM_W("/"), buffer, 0};
  qm_property_text negative{QM_W("/"), buffer, INT32_MIN};
  for (const std::uint32_t code : {QM_PROPERTY_READW, QM_PROPERTY_LISTW}) {
    EXPECT_EQ(call(code, &no_path), 0);
    EXPECT_EQ(reported().message, "[qmproperty] (!path)");
    for (qm_property_text* record : {&no_text, &no_room, &negative}) {
      EXPECT_EQ(call(code, record), 0);
      EXPECT_EQ(reported().code, 22);
      EXPECT_EQ(reported().message, "[qmproperty] (!text || length < 1)");
    }
  }
  qm_property_write_w nothing{QM_W("/x"), nullptr};
  EXPECT_EQ(call(QM_PROPERTY_WRITEW, &nothing), 0);
  EXPECT_EQ(reported().message, "[qmproperty] (!text)");
}

#ifndef _WIN32
// At process exit a caller may come after this library's own destructors have run.
TEST_F(PropertyModule, AnswersAfterItsDestructorsRan) {
  static qm_call_fn entry = nullptr;
  const auto last_call = [] {
    qm_wchar text[10];
    qm_property_text record{QM_W("/key"), text, 10};
    const bool refused = entry(0, QM_PROPERTY_READW, &record) == 0;
    std::_Exit(refused && entry(0, QM_PROPERTY_SAVE, nullptr) == 0 ? 7 : 1);
  };
  const auto end = [&] {
    std::atexit(last_call);  // before the library is loaded, so after its destructors
    start("key = \"value\"\n");
    const bool found = read(QM_W("/key")).has_value();
    qm_kernel_entry nobody{nullptr};  // the stand-in's own data will be gone
    call(QM_CALL_SETKERNELENTRY, &nobody);
    entry = reinterpret_cast<qm_call_fn>(library().find("qm_call"));
    std::exit(found ? 0 : 1);
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(end(), testing::ExitedWithCode(7), "");
}
#endif

TEST_F(PropertyFile, ThatIsNoTomlFailsEveryCallAndStaysAsItIs) {
  constexpr const char* kBroken = "good = \"1\"\n\nbad = = 2\n";
  start(kBroken);
  const auto fails = [&](bool succeeded) {
    EXPECT_FALSE(succeeded);
    EXPECT_EQ(reported().code, 14);
    EXPECT_NE(reported().message.find("qmproperty.toml, line 3, column 7: "), std::string::npos)
        << reported().message;
  };
  fails(read(QM_W("/good")).has_value());
  fails(list(QM_W("/")).has_value());
  fails(write(QM_W("/good"), QM_W("2")));
  fails(remove(QM_W("/good")));
  fails(save());
  EXPECT_EQ(content_of(file()), kBroken);
}

TEST_F(PropertyFile, ThatCannotBeReadFailsEveryCallAndStaysAsItIs) {
  std::filesystem::create_directory(file());
  start(std::nullopt);
  const auto fails = [&](bool succeeded) {
    EXPECT_FALSE(succeeded);
    EXPECT_NE(reported().code, 0);
    EXPECT_NE(reported().message.find("qmproperty.toml cannot be read (system error"),
              std::string::npos)
        << reported().message;
  };
  fails(read(QM_W("/good")).has_value());
  fails(write(QM_W("/good"), QM_W("2")));
  fails(save());
  EXPECT_TRUE(std::filesystem::is_directory(file()));
}

TEST_F(PropertyFile, IsReadAtTheFirstUseAndNotBefore) {
  start("key = \"first\"\n");
  set_content(file(), "key = \"second\"\n");
  EXPECT_EQ(read(QM_W("/key")), QM_W("second"));
  set_content(file(), "key = \"third\"\n");
  EXPECT_EQ(read(QM_W("/key")), QM_W("second"));
}

TEST_F(PropertyFile, TruncatedAnywhereNeverCrashes) {
  const std::string whole =
      "a = \"x\\u00e4\"\n[b.'c']\nd = [1, {e = 0x1F}, 1.5e3]\nf = 1979-05-27T07:32:00.5+01:00\n";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    start(whole.substr(0, length));
    EXPECT_TRUE(list(QM_W("/")) || reported().code == 14) << length;
  }
}

TEST_F(PropertyThreads, ReadWriteAndSaveTogether) {
  start("counted = \"0\"\nconstant = \"same\"\n");
  std::atomic<int> failures = 0;
  const auto expect = [&](bool passed) {
    if (!passed) ++failures;
  };
  const auto reader = [&] {
    for (int i = 0; i < 500; ++i) {
      expect(read(QM_W("/constant")) == QM_W("same"));
      expect(list(QM_W("/")).has_value());
    }
  };
  const auto writer = [&](const qm_wchar* path) {
    for (int i = 0; i < 200; ++i) {
      expect(write(path, QM_W("on")));
      expect(read(path) == QM_W("on"));
      expect(remove(path));
      expect(!read(path) && reported().code == 2);
    }
  };
  const auto saver = [&] {
    for (int i = 0; i < 5; ++i) expect(save());
  };
  std::thread threads[] = {std::thread(reader),
                           std::thread(reader),
                           std::thread(writer, QM_W("/one/x")),
                           std::thread(writer, QM_W("/two/x")),
                           std::thread(saver),
                           std::thread(saver)};
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(save());
  start_again();
  EXPECT_EQ(read(QM_W("/constant")), QM_W("same"));
}

TEST_F(PropertyThreads, FirstUseIsLoadedOnce) {
  start("key = \"value\"\n");
  std::atomic<int> found = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      if (read(QM_W("/key")) == QM_W("value")) ++found;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(found, 8);
}

}  // namespace
}  // namespace toolkit_test
