#include "toolkit/qmtool/system/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <system_error>

#include "toolkit/qmtool/system/program.h"

namespace qmtool {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kReportInChild = 3;

[[noreturn]] void fail(int code, const char* what) {
  throw std::system_error(code, std::generic_category(), what);
}

// Kept from other children that may be started at the same time.
class Pipe {
 public:
  Pipe() {
    if (::pipe2(ends_, O_CLOEXEC) != 0) fail(errno, "no pipe for the report");
  }
  ~Pipe() {
    ::close(ends_[0]);
    close_writing_end();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int reading_end() const noexcept { return ends_[0]; }
  int writing_end() const noexcept { return ends_[1]; }
  void close_writing_end() noexcept {
    if (ends_[1] >= 0) ::close(std::exchange(ends_[1], -1));
  }

 private:
  int ends_[2];
};

class FileActions {
 public:
  explicit FileActions(int report) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawn_file_actions_adddup2(&actions_, report, kReportInChild);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
  }
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  const posix_spawn_file_actions_t* get() const noexcept { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

pid_t start(const std::string& program, std::vector<std::string>& arguments, int report) {
  std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const FileActions actions(report);
  pid_t child = 0;
  const int code =
      ::posix_spawn(&child, program.c_str(), actions.get(), nullptr, pointers.data(), environ);
  if (code != 0) fail(code, "cannot start a process for the check");
  return child;
}

// Reads until the child has closed its end; false when the time is up before.
bool read_report(int pipe, Clock::time_point end, std::string& report) {
  char piece[4096];
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    pollfd wait{pipe, POLLIN, 0};
    const int ready =
        ::poll(&wait, 1, static_cast<int>(std::max<milliseconds::rep>(left.count(), 0)));
    if (ready == 0) return false;
    const ssize_t count = ready > 0 ? ::read(pipe, piece, sizeof piece) : -1;
    if (count > 0) report.append(piece, static_cast<std::size_t>(count));
    if (count == 0) return true;
    if (count < 0 && errno != EINTR) fail(errno, "cannot read the report");
  }
}

void note_ending(int status, ChildResult& result) {
  if (WIFSIGNALED(status)) {
    const char* const name = ::sigabbrev_np(WTERMSIG(status));
    result.ending = Ending::crashed;
    result.crash =
        name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(WTERMSIG(status));
  } else {
    result.code = WEXITSTATUS(status);
  }
}

}  // namespace

ChildResult run_self(std::vector<std::string> arguments, milliseconds limit) {
  arguments.insert(arguments.end(), {"--report", std::to_string(kReportInChild)});
  const auto begin = Clock::now();
  Pipe pipe;
  const pid_t child = start(program_file().string(), arguments, pipe.writing_end());
  pipe.close_writing_end();

  ChildResult result;
  const bool in_time = read_report(pipe.reading_end(), begin + limit, result.report);
  if (!in_time) ::kill(child, SIGKILL);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  result.lasted = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
  if (in_time) {
    note_ending(status, result);
  } else {
    result.ending = Ending::timed_out;
  }
  return result;
}

void send_report(std::uint64_t number, std::string_view piece) {
  while (!piece.empty()) {
    const ssize_t count = ::write(static_cast<int>(number), piece.data(), piece.size());
    if (count < 0 && errno != EINTR) return;
    if (count > 0) piece.remove_prefix(static_cast<std::size_t>(count));
  }
}

void end_at_once() { ::_exit(0); }

// Nobody passes over a signal here.
void forget_crash() {}
void end_if_crashed() {}

void end_quietly_on_crash() {
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP}) {
    ::signal(signal, SIG_DFL);
  }
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
}

}  // namespace qmtool
