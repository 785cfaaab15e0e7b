// What is left in the process by libraries that come and go: nothing. Thread slots count most, for
// a process has but a thousand or so.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "include/qmsd7.h"

namespace binary {
namespace {

int free_thread_slots() {
  std::vector<DWORD> taken;
  for (DWORD slot = ::TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = ::TlsAlloc()) {
    taken.push_back(slot);
  }
  for (const DWORD slot : taken) ::TlsFree(slot);
  return static_cast<int>(taken.size());
}

std::size_t memory_in_use() {
  std::size_t bytes = 0;
  HANDLE heaps[64];
  const DWORD found = ::GetProcessHeaps(64, heaps);
  for (DWORD i = 0; i < found && i < 64; ++i) {
    PROCESS_HEAP_ENTRY entry{};
    ::HeapLock(heaps[i]);
    while (::HeapWalk(heaps[i], &entry)) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
    }
    ::HeapUnlock(heaps[i]);
  }
  return bytes;
}

// Loads and frees the library this many times, with a call in between.
void load_and_free(const char* file, int times) {
  for (int i = 0; i < times; ++i) {
    const HMODULE library = ::LoadLibraryA(file);
    ASSERT_NE(library, nullptr) << "round " << i << ", error " << ::GetLastError();
    const auto found = reinterpret_cast<void (*)()>(::GetProcAddress(library, "qm_call"));
    const auto call = reinterpret_cast<qm_call_fn>(found);
    ASSERT_NE(call, nullptr);
    call(0, QM_CALL_PUSHERROR, nullptr);
    ASSERT_TRUE(::FreeLibrary(library));
    ASSERT_EQ(::GetModuleHandleA(file), nullptr);
  }
}

class ComingAndGoing : public testing::TestWithParam<const char*> {};

TEST_P(ComingAndGoing, KeepsNoThreadSlots) {
  const int before = free_thread_slots();
  load_and_free(GetParam(), 300);
  EXPECT_EQ(free_thread_slots(), before);
}

// What the library leaves on the heaps when it is loaded and freed a hundred times.
std::ptrdiff_t kept_by(const char* file) {
  load_and_free(file, 5);  // what the system keeps once
  const std::size_t before = memory_in_use();
  load_and_free(file, 100);
  return static_cast<std::ptrdiff_t>(memory_in_use() - before);
}

// The runtime keeps its record of the loading thread, some 350 bytes a load, and the system's
// version library, as Wine has it, a copy of the command line. So does a library that does nothing.
TEST_P(ComingAndGoing, KeepsNoMoreMemoryThanALibraryThatDoesNothing) {
  const std::ptrdiff_t kept_anyway = kept_by(QMSD_IDLE_FILE);
  EXPECT_LE(kept_by(GetParam()), kept_anyway + 1024);
  EXPECT_LT(kept_anyway, 100 * 4 * 1024) << "the runtime's memory for exceptions is given back";
}

// ---- Threads -----------------------------------------------------------------------------------

DWORD WINAPI do_nothing(void*) { return 0; }

DWORD WINAPI make_errors(void* entry) {
  const auto call = reinterpret_cast<qm_call_fn>(entry);
  for (int times = 0; times < 3; ++times) {
    call(0, QM_CALL_SETERRORW, nullptr);
    call(0, QM_CALL_PUSHERROR, nullptr);
  }
  return 0;
}

std::ptrdiff_t kept_by_threads(LPTHREAD_START_ROUTINE body, void* argument) {
  const auto run = [body, argument](int times) {
    for (int i = 0; i < times; ++i) {
      const HANDLE thread = ::CreateThread(nullptr, 0, body, argument, 0, nullptr);
      ::WaitForSingleObject(thread, INFINITE);
      ::CloseHandle(thread);
    }
  };
  run(5);
  const std::size_t before = memory_in_use();
  run(100);
  return static_cast<std::ptrdiff_t>(memory_in_use() - before);
}

TEST(ThreadsThatComeAndGo, KeepNoErrors) {
  const HMODULE library = ::LoadLibraryA(QMSD_LIBRARY_FILE);
  ASSERT_NE(library, nullptr);
  const auto entry = reinterpret_cast<void (*)()>(::GetProcAddress(library, "qm_call"));
  const std::ptrdiff_t kept_anyway = kept_by_threads(do_nothing, nullptr);
  EXPECT_LE(kept_by_threads(make_errors, reinterpret_cast<void*>(entry)), kept_anyway + 1024);
  EXPECT_TRUE(::FreeLibrary(library));
}

constexpr const char* kNames[] = {"Kernel", "Module", "ModuleOfTheKit"};
INSTANTIATE_TEST_SUITE_P(Libraries, ComingAndGoing,
                         testing::Values(QMSD_LIBRARY_FILE, QMSD_MODULE_FILE, QMSD_KIT_MODULE_FILE),
                         [](const auto& param) { return kNames[param.index]; });

}  // namespace
}  // namespace binary
