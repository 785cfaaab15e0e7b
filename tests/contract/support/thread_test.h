// The fixture of tests in which many threads use the kernel and its modules.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/contract/support/module_test.h"

namespace contract {

class ThreadTest : public ModuleTest {
 protected:
  // Runs the body on several threads that start at the same moment.
  static void run(int threads, const std::function<void(int)>& body) {
    std::atomic<bool> go{false};
    std::vector<std::thread> all;
    for (int number = 0; number < threads; ++number) {
      all.emplace_back([&, number] {
        while (!go) std::this_thread::yield();
        body(number);
      });
    }
    go = true;
    for (std::thread& thread : all) thread.join();
  }

  static std::string numbered(const char* prefix, int number) {
    return prefix + std::to_string(number / 10) + std::to_string(number % 10);
  }
  // Waits until the modules have noted this.
  void wait_for(const std::string& line) const {
    const auto start = std::chrono::steady_clock::now();
    while (journal(line).empty() && elapsed_since(start).count() < 10000) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  // An open that may fail, and the error that it left.
  std::pair<std::uint32_t, Error> try_open(const qm_wchar* name) const {
    qm_open_module_w record{name, nullptr, 0};
    kernel()(QM_CALL_OPENMODULEW, &record);
    return {record.handle, kernel().error()};
  }
};

}  // namespace contract
