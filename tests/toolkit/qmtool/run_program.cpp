#include "tests/toolkit/qmtool/run_program.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace qmtool_test {
namespace {

#ifdef _WIN32

std::wstring wide(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

HANDLE create_file(const std::filesystem::path& file) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return ::CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0,
                       nullptr);
}

// No argument of the tests ends in a backslash or holds a quotation mark.
int run(const std::filesystem::path& program, const std::vector<std::string>& arguments,
        const std::filesystem::path& output, const std::filesystem::path& errors) {
  std::wstring command = L"program";
  for (const std::string& argument : arguments) command += L" \"" + wide(argument) + L"\"";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = create_file(output);
  startup.hStdError = create_file(errors);
  PROCESS_INFORMATION process{};
  DWORD code = static_cast<DWORD>(-1);
  if (::CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                       &startup, &process)) {
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &code);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
  }
  ::CloseHandle(startup.hStdOutput);
  ::CloseHandle(startup.hStdError);
  return code < 0x80000000 ? static_cast<int>(code) : -1;
}

#else

int run(const std::filesystem::path& program, const std::vector<std::string>& arguments,
        const std::filesystem::path& output, const std::filesystem::path& errors) {
  std::string name = "program";
  std::vector<char*> pointers = {name.data()};
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), kCreate, 0600);
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), kCreate, 0600);
  pid_t child = 0;
  int status = -1;
  if (::posix_spawn(&child, program.c_str(), &actions, nullptr, pointers.data(), environ) == 0) {
    ::waitpid(child, &status, 0);
  }
  ::posix_spawn_file_actions_destroy(&actions);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#endif

std::string take_file(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string content{std::istreambuf_iterator<char>(stream), {}};
  stream.close();
  std::filesystem::remove(file);
  std::erase(content, '\r');
  return content;
}

}  // namespace

ProgramRun run_program(const std::filesystem::path& program,
                       const std::vector<std::string>& arguments) {
  const auto folder = program.parent_path();
  const auto output = folder / "standard_output";
  const auto errors = folder / "standard_error";
  const int code = run(program, arguments, output, errors);
  return {code, take_file(output), take_file(errors)};
}

}  // namespace qmtool_test
