#include "toolkit/qmtool/system/process.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

#include <qm/text.hpp>

#include "toolkit/qmtool/system/program.h"

namespace qmtool {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr DWORD kPipeSize = 64 * 1024;  // more than any report

struct CrashName {
  DWORD code;
  const char* name;
};
constexpr CrashName kCrashNames[] = {
    {EXCEPTION_ACCESS_VIOLATION, "access violation"},
    {EXCEPTION_STACK_OVERFLOW, "stack overflow"},
    {EXCEPTION_INT_DIVIDE_BY_ZERO, "division by zero"},
    {EXCEPTION_ILLEGAL_INSTRUCTION, "illegal instruction"},
    {EXCEPTION_PRIV_INSTRUCTION, "privileged instruction"},
    {EXCEPTION_BREAKPOINT, "breakpoint"},
    {EXCEPTION_IN_PAGE_ERROR, "unreadable page"},
    {0xC0000374, "damaged heap"},
    {0xC0000409, "overrun stack buffer"},
};

[[noreturn]] void fail(const char* what) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

class Handle {
 public:
  explicit Handle(HANDLE handle = nullptr) noexcept : handle_(handle) {}
  Handle(Handle&& from) noexcept : handle_(std::exchange(from.handle_, nullptr)) {}
  Handle& operator=(Handle&& from) noexcept {
    std::swap(handle_, from.handle_);
    return *this;
  }
  ~Handle() {
    if (handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE) ::CloseHandle(handle_);
  }
  HANDLE get() const noexcept { return handle_; }
  HANDLE* out() noexcept { return &handle_; }

 private:
  HANDLE handle_;
};

// Backslashes count only in front of a quotation mark.
void append_quoted(std::wstring& command, const std::wstring& argument) {
  command += L" \"";
  std::size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'"') command.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    command += unit;
  }
  command.append(backslashes, L'\\') += L'"';
}

// The child inherits these handles and no others, such as those of a child started meanwhile.
class Startup {
 public:
  Startup(HANDLE report, HANDLE nowhere) : handles_{report, nowhere} {
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    room_ = std::make_unique<char[]>(size);
    info_.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room_.get());
    if (!::InitializeProcThreadAttributeList(info_.lpAttributeList, 1, 0, &size) ||
        !::UpdateProcThreadAttribute(info_.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                     handles_, sizeof handles_, nullptr, nullptr)) {
      fail("cannot prepare a process for the check");
    }
    info_.StartupInfo.cb = sizeof info_;
    info_.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    info_.StartupInfo.hStdInput = nowhere;
    info_.StartupInfo.hStdOutput = nowhere;
    info_.StartupInfo.hStdError = nowhere;
  }
  ~Startup() { ::DeleteProcThreadAttributeList(info_.lpAttributeList); }
  Startup(const Startup&) = delete;
  Startup& operator=(const Startup&) = delete;

  STARTUPINFOW* get() noexcept { return &info_.StartupInfo; }

 private:
  HANDLE handles_[2];
  std::unique_ptr<char[]> room_;
  STARTUPINFOEXW info_{};
};

Handle start(const std::vector<std::string>& arguments, HANDLE report) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const Handle nowhere(::CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING,
                                     0, nullptr));
  Startup startup(report, nowhere.get());
  std::wstring command = L"qmtool";
  for (const std::string& argument : arguments) append_quoted(command, qm::to_wide(argument));
  PROCESS_INFORMATION process{};
  if (!::CreateProcessW(program_file().c_str(), command.data(), nullptr, nullptr, TRUE,
                        EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, startup.get(), &process)) {
    fail("cannot start a process for the check");
  }
  ::CloseHandle(process.hThread);
  return Handle(process.hProcess);
}

std::string read_what_is_there(HANDLE pipe) {
  std::string report;
  DWORD ready = 0;
  while (::PeekNamedPipe(pipe, nullptr, 0, nullptr, &ready, nullptr) && ready > 0) {
    char piece[4096];
    DWORD count = 0;
    if (!::ReadFile(pipe, piece, std::min<DWORD>(ready, sizeof piece), &count, nullptr)) break;
    report.append(piece, count);
  }
  return report;
}

void note_ending(DWORD code, ChildResult& result) {
  if (code < 0x80000000) {
    result.code = static_cast<int>(code);
    return;
  }
  const auto known = std::ranges::find(kCrashNames, code, &CrashName::code);
  char number[24];
  ::wsprintfA(number, "exception 0x%08x", code);
  result.ending = Ending::crashed;
  result.crash = known != std::end(kCrashNames) ? known->name : number;
}

DWORD last_crash = 0;

LONG WINAPI note_crash(EXCEPTION_POINTERS* exception) {
  const DWORD code = exception->ExceptionRecord->ExceptionCode;
  if (code >= 0xC0000000) last_crash = code;
  return EXCEPTION_CONTINUE_SEARCH;
}

// A crash that reaches the system would show a dialog or start a debugger.
LONG WINAPI end_with_code(EXCEPTION_POINTERS* crash) {
  ::TerminateProcess(::GetCurrentProcess(), crash->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

ChildResult run_self(std::vector<std::string> arguments, milliseconds limit) {
  const auto begin = Clock::now();
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  Handle reading_end;
  Handle writing_end;
  if (!::CreatePipe(reading_end.out(), writing_end.out(), &inherited, kPipeSize)) {
    fail("no pipe for the report");
  }
  arguments.push_back("--report");
  arguments.push_back(std::to_string(reinterpret_cast<std::uintptr_t>(writing_end.get())));
  const Handle child = start(arguments, writing_end.get());

  ChildResult result;
  const bool in_time =
      ::WaitForSingleObject(child.get(), static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
  if (!in_time) {
    ::TerminateProcess(child.get(), 1);
    ::WaitForSingleObject(child.get(), INFINITE);
  }
  DWORD code = 0;
  ::GetExitCodeProcess(child.get(), &code);
  result.report = read_what_is_there(reading_end.get());
  result.lasted = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
  if (in_time) {
    note_ending(code, result);
  } else {
    result.ending = Ending::timed_out;
  }
  return result;
}

void send_report(std::uint64_t number, std::string_view piece) {
  DWORD written = 0;
  ::WriteFile(reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(number)), piece.data(),
              static_cast<DWORD>(piece.size()), &written, nullptr);
}

void end_at_once() {
  ::TerminateProcess(::GetCurrentProcess(), 0);
  std::abort();  // never reached
}

void end_quietly_on_crash() {
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  ::SetUnhandledExceptionFilter(&end_with_code);
  ::AddVectoredExceptionHandler(1, &note_crash);
}

void forget_crash() { last_crash = 0; }

void end_if_crashed() {
  if (last_crash != 0) ::TerminateProcess(::GetCurrentProcess(), last_crash);
}

}  // namespace qmtool
