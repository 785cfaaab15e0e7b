// A host process of its own, for what can only be seen when a process ends. Usage: contract_host
// SCENARIO. The exit code is 42 when the scenario went as planned up to its end.
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

#include "include/qmsd7.h"
#include "tests/contract/support/shared_library.h"
#include "tests/modules/test_module.h"

// What a process leaves that ends in the middle of its work is no leak, and what its threads still
// do while it ends is no race: Windows kills them before, elsewhere they die inside their module.
#ifdef __SANITIZE_ADDRESS__
extern "C" QM_EXPORT const char* __asan_default_options() { return "detect_leaks=0"; }
#endif
#ifdef __SANITIZE_THREAD__
extern "C" QM_EXPORT const char* __tsan_default_options() { return "report_bugs=0"; }
#endif

namespace {

constexpr int kAsPlanned = 42;
constexpr int kFailed = 1;

qm_call_fn g_kernel = nullptr;

// Never unloaded: the process's end is what the scenarios are about.
void load_kernel() {
  static auto* library = new contract::SharedLibrary(contract::kernel_file());
  g_kernel = reinterpret_cast<qm_call_fn>(library->find("qm_call"));
}

std::uint32_t open(const qm_wchar* name) {
  qm_open_module_w record{name, nullptr, 0};
  g_kernel(0, QM_CALL_OPENMODULEW, &record);
  return record.handle;
}

void sleep_for(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

int leaves_handles_open() {
  load_kernel();
  for (const qm_wchar* name : {QM_W("tm_z1"), QM_W("tm_a1"), QM_W("tm_m1")}) {
    if (open(name) == 0) return kFailed;
  }
  qm_realloc block{nullptr, 100};
  return g_kernel(0, QM_CALL_REALLOC, &block) == 1 ? kAsPlanned : kFailed;
}

// The module's settings make the open last.
int leaves_a_thread_in_an_open() {
  load_kernel();
  std::thread([] { open(QM_W("tm_plain")); }).detach();
  sleep_for(300);
  return kAsPlanned;
}

int leaves_a_thread_in_a_call() {
  load_kernel();
  const std::uint32_t handle = open(QM_W("tm_plain"));
  if (handle == 0) return kFailed;
  std::thread([handle] {
    tm_number long_sleep{60000};
    g_kernel(handle, TM_SLEEP, &long_sleep);
  }).detach();
  sleep_for(300);
  return kAsPlanned;
}

// Each thread keeps one of the kernel's tables busy, so that it ends inside a lock sooner or later.
// They allocate nothing and call no module, so that what they are killed in is a lock of the kernel
// and not a routine of the system.
void use_blocks() {
  std::uint32_t foreign = 0;
  for (;;) {
    qm_realloc block{&foreign, 16};
    g_kernel(0, QM_CALL_REALLOC, &block);
    g_kernel(0, QM_CALL_MEMCHECK, nullptr);
  }
}

void use_handles() {
  qm_handle_ref handle{open(QM_W("tm_plain"))};
  for (;;) {
    g_kernel(0, QM_CALL_REFHANDLE, &handle);
    g_kernel(0, QM_CALL_UNREFHANDLE, &handle);
  }
}

void use_slots() {
  qm_slot slot{};
  g_kernel(0, QM_CALL_SLOTCREATE, &slot);
  for (;;) {
    g_kernel(0, QM_CALL_SLOTJOIN, &slot);
    g_kernel(0, QM_CALL_SLOTRELEASE, &slot);
  }
}

void use_error_texts() {
  for (;;) {
    const qm_error_text pair{0x2001, nullptr};
    qm_add_error_texts texts{1, &pair};
    g_kernel(0, QM_CALL_ADDERRORTEXTS, &texts);
  }
}

int leaves_busy_threads() {
  load_kernel();
  open(QM_W("tm_plain"));
  for (void (*use)() : {use_blocks, use_handles, use_slots, use_error_texts}) {
    std::thread(use).detach();
  }
  sleep_for(100);
  return kAsPlanned;
}

// Modules are cleaned up before the kernel that loaded them.
int leaves_busy_threads_and_a_caller() {
  load_kernel();
  const bool opened = open(QM_W("tm_plain")) != 0 && open(QM_W("tm_unload_calls")) != 0;
  return opened ? leaves_busy_threads() : kFailed;
}

// The end of a process waits for the system's loader, so threads that load and unload without a
// pause end at its door.
int leaves_loading_threads() {
  load_kernel();
  for (const qm_wchar* name : {QM_W("tm_plain"), QM_W("tm_a1"), QM_W("tm_m1")}) {
    std::thread([name] {
      for (;;) {
        qm_handle_ref handle{open(name)};
        g_kernel(0, QM_CALL_CLOSEHANDLE, &handle);
      }
    }).detach();
  }
  sleep_for(50);
  return kAsPlanned;
}

// Libraries are cleaned up in the opposite order of their loading on Windows, in the same order
// elsewhere; the caller's turn is to come after the kernel's.
int leaves_a_caller_behind() {
#ifndef _WIN32
  load_kernel();
#endif
  static auto* caller = new contract::SharedLibrary(
      std::filesystem::current_path() / (std::string("tmc_closed") + contract::kLibraryExtension));
#ifdef _WIN32
  load_kernel();
#endif
  reinterpret_cast<void (*)(qm_call_fn)>(caller->find("tmc_use_kernel"))(g_kernel);
  return g_kernel(0, QM_CALL_NOP, nullptr) == 1 ? kAsPlanned : kFailed;
}

struct Scenario {
  const char* name;
  int (*play)();
};

constexpr Scenario kScenarios[] = {
    {"leaves_handles_open", leaves_handles_open},
    {"leaves_a_thread_in_an_open", leaves_a_thread_in_an_open},
    {"leaves_a_thread_in_a_call", leaves_a_thread_in_a_call},
    {"leaves_busy_threads", leaves_busy_threads},
    {"leaves_busy_threads_and_a_caller", leaves_busy_threads_and_a_caller},
    {"leaves_loading_threads", leaves_loading_threads},
    {"leaves_a_caller_behind", leaves_a_caller_behind},
};

}  // namespace

int main(int count, char** arguments) {
  for (const Scenario& scenario : kScenarios) {
    if (count == 2 && std::strcmp(arguments[1], scenario.name) == 0) return scenario.play();
  }
  return kFailed;
}
