// The readers-writer lock beside the standard library's, in one run.
#include <benchmark/benchmark.h>

#include <shared_mutex>

#include "kernel/base/rw_lock.h"

namespace {

using qmsd::LockRank;

struct OurLock {
  qmsd::RwLock lock{LockRank::groups};
  void read() { const qmsd::ReadGuard guard(lock); }
  void write() { const qmsd::WriteGuard guard(lock); }
};

struct StandardLock {
  std::shared_mutex lock;
  void read() { const std::shared_lock guard(lock); }
  void write() { const std::lock_guard guard(lock); }
};

template <class Lock>
void read_lock(benchmark::State& state) {
  static Lock lock;
  for (auto _ : state) {
    lock.read();
    benchmark::ClobberMemory();
  }
}

template <class Lock>
void write_lock(benchmark::State& state) {
  static Lock lock;
  for (auto _ : state) {
    lock.write();
    benchmark::ClobberMemory();
  }
}

// A table's life: one change in a hundred uses.
template <class Lock>
void mostly_reads(benchmark::State& state) {
  static Lock lock;
  int use = 0;
  for (auto _ : state) {
    if (++use % 100 == 0) {
      lock.write();
    } else {
      lock.read();
    }
  }
}

BENCHMARK(read_lock<StandardLock>)->ThreadRange(1, 4);
BENCHMARK(read_lock<OurLock>)->ThreadRange(1, 4);
BENCHMARK(write_lock<StandardLock>)->ThreadRange(1, 4);
BENCHMARK(write_lock<OurLock>)->ThreadRange(1, 4);
BENCHMARK(mostly_reads<StandardLock>)->ThreadRange(1, 4);
BENCHMARK(mostly_reads<OurLock>)->ThreadRange(1, 4);

}  // namespace
