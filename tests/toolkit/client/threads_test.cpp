// Variants shared by many threads through owners of their own.
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "examples/counter/excounter.h"
#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 200;

void run(const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) threads.emplace_back(body, number);
  for (std::thread& thread : threads) thread.join();
}

using ClientThreads = ClientTest;

TEST_F(ClientThreads, ReadAndAssignOneVariant) {
  const qm::Variant shared = qm::Variant::create(plain_kernel(), 0);
  std::vector<qm::Variant> owners;
  for (int number = 0; number < kThreads; ++number) owners.push_back(shared.share());
  std::atomic<int> wrong{0};
  run([&](int number) {
    qm::Variant mine = std::move(owners[static_cast<std::size_t>(number)]);
    for (int round = 0; round < kRounds; ++round) {
      mine.assign(round);
      const int value = mine.as<int>();
      if (value < 0 || value >= kRounds) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(shared.as<int>(), kRounds - 1);
}

TEST_F(ClientThreads, VisitAListWhileOthersChangeIt) {
  const qm::Variant list = qm::Variant::create(plain_kernel(), qm::Value::container());
  for (int number = 0; number < 8; ++number) list.items().add(number, "item");
  std::atomic<int> wrong{0};
  run([&](int number) {
    const qm::Variant mine = list.share();
    for (int round = 0; round < kRounds; ++round) {
      if (number % 2 == 0) {
        mine.items().add(round, "item");
        if (!mine.items().try_remove(0)) ++wrong;
      } else {
        for (const qm::Variant& item : mine.items()) {
          if (item.name() != "item") ++wrong;
        }
      }
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(list.items().size(), 8);
}

TEST_F(ClientThreads, HaveErrorsOfTheirOwn) {
  const qm::Kernel plain = plain_kernel();
  std::atomic<int> wrong{0};
  run([&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const qm::ErrorStateGuard guard(plain);
      const auto unknown = plain.try_call(0x1000A000 + static_cast<std::uint32_t>(number));
      if (unknown || unknown.error().text().find("function=1000a00" + std::to_string(number)) ==
                         std::string_view::npos) {
        ++wrong;
      }
    }
    if (plain.error().code() != 0) ++wrong;
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(ClientThreads, CallOneModuleThroughHandlesOfTheirOwn) {
  install_examples();
  const auto counter = qm::ModuleHandle::open(plain_kernel(), "excounter");
  std::vector<qm::ModuleHandle> handles;
  for (int number = 0; number < kThreads; ++number) handles.push_back(counter.share());
  run([&](int number) {
    const qm::ModuleHandle mine = std::move(handles[static_cast<std::size_t>(number)]);
    const qm::DirectModule direct = mine.resolve();
    for (int round = 0; round < kRounds / 4; ++round) {
      excounter_add record{1, 0};
      mine.call(EXCOUNTER_ADD, &record);
      direct.call(EXCOUNTER_ADD, &record);
    }
  });
  excounter_add record{0, 0};
  counter.call(EXCOUNTER_ADD, &record);
  EXPECT_EQ(record.value, kThreads * (kRounds / 4) * 2);
}

TEST_F(ClientThreads, ReleaseBlocksOfOneAnother) {
  const qm::Kernel plain = plain_kernel();
  std::vector<qm::Buffer> blocks(kThreads);
  run([&](int number) {
    blocks[static_cast<std::size_t>(number)] = qm::Buffer::allocate(plain, 100);
  });
  run([&](int number) { blocks[static_cast<std::size_t>((number + 1) % kThreads)].reset(); });
  EXPECT_TRUE(qm::live_blocks(plain).empty());
}

}  // namespace
}  // namespace client_test
