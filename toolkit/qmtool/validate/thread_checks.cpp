// Checks of a module that several threads use.
#include <exception>
#include <functional>
#include <future>
#include <vector>

#include "toolkit/qmtool/system/threads.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

constexpr int kThreads = 4;

// What fails on a thread fails the check.
void on_threads(const std::function<void()>& work) {
  std::vector<std::future<void>> all;
  for (int i = 0; i < kThreads; ++i) all.push_back(std::async(std::launch::async, work));
  for (auto& thread : all) thread.get();
}

void opens_on_threads(Subject& module) {
  const auto keeps_it_loaded = module.open();
  on_threads([&] {
    for (int i = 0; i < 50; ++i) module.open().close();
  });
}

void loads_on_threads(Subject& module) {
  module.kernel();  // not by several threads at once
  on_threads([&] { module.open().close(); });
}

void serves_threads(Subject& module) {
  const auto handle = module.open();
  on_threads([&] {
    for (int i = 0; i < 500; ++i) {
      expect(handle.try_info().has_value(), "the module does not answer on every thread");
      module.kernel().call_raw(handle.get(), kUnknownCode);
    }
  });
}

void closes_on_another_thread(Subject& module) {
  auto handle = module.open();
  std::async(std::launch::async, [&] { handle.close(); }).get();
}

void lets_threads_end(Subject& module) {
  std::promise<void> used;
  std::promise<void> unloaded;
  auto thread = std::async(std::launch::async, [&] {
    try {
      module.open().try_call(kUnknownCode).value_or(0);
    } catch (...) {
      used.set_exception(std::current_exception());
      return;
    }
    used.set_value();
    unloaded.get_future().wait();
  });
  used.get_future().get();
  module.open().close();  // the last close unloads it
  unloaded.set_value();
  thread.get();
}

void ends_its_threads(Subject& module) {
  module.kernel();
  const std::size_t before = thread_count();
  module.open().close();
  const std::size_t after = thread_count();
  expect(after <= before,
         counted(after - before, "thread runs", "threads run") + " on after the last close");
}

constexpr Check kChecks[] = {
    {"threads.open", "Several threads can open and close instances at once",
     "Guard what instances share with a lock.", &opens_on_threads},
    {"threads.load", "Several threads can be the first to open it",
     "Guard what is set up at the first open.", &loads_on_threads},
    {"threads.call", "Several threads can use one instance at once",
     "Guard the state of an instance with a lock of its own.", &serves_threads},
    {"threads.close", "An instance can be closed by another thread than its opener",
     "Keep nothing that belongs to an instance in variables of a thread.",
     &closes_on_another_thread},
    {"threads.outlive", "A thread that used it can end after it is unloaded",
     "Use no thread variables with destructors, and no thread exit callbacks.", &lets_threads_end},
    {"threads.own", "No thread of its own runs on after the last close",
     "End threads, and wait for them, in the close of the last instance.", &ends_its_threads,
     Needs::open, Weight::should},
};

}  // namespace

std::span<const Check> thread_checks() { return kChecks; }

}  // namespace qmtool
