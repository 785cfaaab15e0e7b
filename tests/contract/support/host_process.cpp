#include "tests/contract/support/host_process.h"

#include <filesystem>
#include <thread>

#include "tests/contract/support/shared_library.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#endif

namespace contract {
namespace {

using Clock = std::chrono::steady_clock;

std::filesystem::path host_file() {
  return program_file()
      .replace_filename("contract_host")
      .replace_extension(program_file().extension());
}

#ifdef _WIN32

int run(const std::string& scenario, std::chrono::seconds limit) {
  std::wstring command = L"contract_host " + std::wstring(scenario.begin(), scenario.end());
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!::CreateProcessW(host_file().c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &startup, &process)) {
    return -1;
  }
  DWORD code = static_cast<DWORD>(-1);
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(limit).count();
  if (::WaitForSingleObject(process.hProcess, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0) {
    ::GetExitCodeProcess(process.hProcess, &code);
  } else {
    ::TerminateProcess(process.hProcess, code);
  }
  ::CloseHandle(process.hThread);
  ::CloseHandle(process.hProcess);
  return static_cast<int>(code);
}

#else

int run(const std::string& scenario, std::chrono::seconds limit) {
  std::string program = "contract_host";
  std::string argument = scenario;
  char* arguments[] = {program.data(), argument.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawn(&child, host_file().c_str(), nullptr, nullptr, arguments, environ) != 0) {
    return -1;
  }
  const auto end = Clock::now() + limit;
  int status = 0;
  while (::waitpid(child, &status, WNOHANG) == 0) {
    if (Clock::now() > end) {
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

#endif

}  // namespace

HostResult run_host(const std::string& scenario, std::chrono::seconds limit) {
  const auto start = Clock::now();
  const int code = run(scenario, limit);
  return {code, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start)};
}

}  // namespace contract
