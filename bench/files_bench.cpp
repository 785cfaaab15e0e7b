// Files, wildcards and slots beside their peers in the C library, in one run.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "include/qmsd7.h"
#include "kernel/base/rw_lock.h"
#include "kernel/entry/lifecycle.h"
#include "services/files/wildcard.h"

namespace {

[[maybe_unused]] const bool attached = (qmsd::attach(), true);

// ---- Reading 4 KiB -----------------------------------------------------------------------------

class SmallFile {
 public:
  SmallFile() : path_(std::filesystem::temp_directory_path() / "qmsd_files_bench") {
    std::ofstream(path_, std::ios::binary) << std::string(4096, 'x');
    name_ = path_.string();
  }
  ~SmallFile() { std::filesystem::remove(path_); }
  const char* name() const { return name_.c_str(); }

 private:
  std::filesystem::path path_;
  std::string name_;
};

void read_with_the_library(benchmark::State& state) {
  const SmallFile file;
  for (auto _ : state) {
    std::FILE* stream = std::fopen(file.name(), "rb");
    void* data = std::malloc(4096);
    benchmark::DoNotOptimize(std::fread(data, 1, 4096, stream));
    std::fclose(stream);
    std::free(data);
  }
}
BENCHMARK(read_with_the_library);

void read_with_the_kernel(benchmark::State& state) {
  const SmallFile file;
  for (auto _ : state) {
    qm_file record{nullptr, file.name(), 0, QM_FILE_NAME_NARROW};
    if (qm_call(0, QM_CALL_READFILE, &record) == 0) state.SkipWithError("unreadable");
    qm_realloc block{record.data, 0};
    qm_call(0, QM_CALL_REALLOC, &block);
  }
}
BENCHMARK(read_with_the_kernel);

// ---- Matching a name of 27 characters ----------------------------------------------------------

constexpr char kName[] = "annual_report_2024_final.pd";
constexpr char kPattern[] = "*_rep*t_20[0-9]?_*.pd";

void match_with_the_library(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(::fnmatch(kPattern, kName, FNM_NOESCAPE));
}
BENCHMARK(match_with_the_library);

void match_with_the_kernel(benchmark::State& state) {
  const std::basic_string<qm_wchar> name(kName, kName + sizeof kName - 1);
  const std::basic_string<qm_wchar> pattern(kPattern, kPattern + sizeof kPattern - 1);
  for (auto _ : state) benchmark::DoNotOptimize(qmsd::wildcard_match(name, pattern));
}
BENCHMARK(match_with_the_kernel);

// ---- Joining a slot and giving it back ---------------------------------------------------------

// Joining takes the slots' lock as a reader, releasing takes it as a writer.
void four_pairs_of_lock_and_unlock(benchmark::State& state) {
  qmsd::RwLock lock(qmsd::LockRank::slots);
  for (auto _ : state) {
    for (int i = 0; i < 2; ++i) {
      { const qmsd::ReadGuard guard(lock); }
      { const qmsd::WriteGuard guard(lock); }
    }
  }
}
BENCHMARK(four_pairs_of_lock_and_unlock);

void join_and_release(benchmark::State& state) {
  qm_slot created{};
  qm_call(0, QM_CALL_SLOTCREATE, &created);
  for (auto _ : state) {
    qm_slot joined{created.id, nullptr};
    qm_call(0, QM_CALL_SLOTJOIN, &joined);
    qm_call(0, QM_CALL_SLOTRELEASE, &joined);
  }
  qm_call(0, QM_CALL_SLOTRELEASE, &created);
}
BENCHMARK(join_and_release);

}  // namespace
