// qmtool bench: what a call costs on this machine.
#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <iomanip>
#include <sstream>

#include <qm/module_handle.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/group_table.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {
    "bench", "Measure what a call costs on this machine",
    "  qmtool bench\n"
    "  qmtool bench --module exgreeter --time 1000\n"
    "The module is asked for its information record, which is little work."};

struct Options {
  std::string module = "qmproperty";
  int time = 200;
};

struct Measurement {
  std::string what;
  double nanoseconds;  // for a call
};

using Clock = std::chrono::steady_clock;
using Call = std::function<void()>;

// The median of some rounds: others use the machine, too.
double nanoseconds_of(const Call& call, std::chrono::milliseconds time) {
  constexpr int kRounds = 9;
  constexpr int kBatch = 256;
  std::array<double, kRounds> rounds;
  for (double& round : rounds) {
    const auto begin = Clock::now();
    const auto end = begin + time / kRounds;
    std::int64_t calls = 0;
    auto now = begin;
    for (; now < end; now = Clock::now(), calls += kBatch) {
      for (int i = 0; i < kBatch; ++i) call();
    }
    const std::chrono::duration<double, std::nano> lasted = now - begin;
    round = lasted.count() / static_cast<double>(std::max<std::int64_t>(calls, 1));
  }
  std::ranges::sort(rounds);
  return rounds[kRounds / 2];
}

// 0 when no group is the module's.
std::uint32_t group_handle_of(qm::Kernel kernel, const std::string& module) {
  const auto table = group_table(kernel);
  const auto group = std::ranges::find(table, module, &Group::module);
  return group != table.end() ? QM_GROUP_HANDLE(group->id) : 0;
}

std::vector<Measurement> measure(qm::Kernel kernel, const Options& options) {
  const std::chrono::milliseconds time(options.time);
  const auto module = qm::ModuleHandle::open(kernel, options.module);
  const auto ask = [&](std::uint32_t handle) {
    return nanoseconds_of(
        [kernel, handle] {
          qm_info_request request{};
          kernel.call_raw(handle, QM_CALL_GETKERNELINFO, &request);
        },
        time);
  };
  std::vector<Measurement> all;
  all.push_back({"kernel, no operation",
                 nanoseconds_of([kernel] { kernel.call_raw(0, QM_CALL_NOP); }, time)});
  all.push_back({options.module + ", through a handle", ask(module.get())});
  if (const std::uint32_t handle = group_handle_of(kernel, options.module)) {
    all.push_back({options.module + ", through its group", ask(handle)});
  }
  return all;
}

std::string with_one_digit(double number) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << number;
  return text.str();
}

int run(const Options& options, Tool& tool) {
  Json list = Json::array();
  Table table({"CALL", "NANOSECONDS"});
  for (const Measurement& measurement : measure(tool.kernel(), options)) {
    list.push_back({{"call", measurement.what}, {"nanoseconds", measurement.nanoseconds}});
    table.add({measurement.what, with_one_digit(measurement.nanoseconds)});
  }
  if (tool.json) {
    print_json(list);
  } else {
    table.print();
  }
  return kDone;
}

}  // namespace

void add_bench_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kText, options, &run)
      .option(options->module, {"--module", "NAME", "Module to call"})
      .option(options->time, {"--time", "MS", "Time for each kind of call, in milliseconds"}, 10,
              60000);
}

}  // namespace qmtool
