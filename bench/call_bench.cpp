// What a call costs on its way in: the plain road, and the one through a handle to a module. The
// library is the one that is delivered; beside it stands what the same work costs without it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>

#include "include/qmsd7.h"

namespace {

void nop(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(qm_call(0, QM_CALL_NOP, nullptr));
}
BENCHMARK(nop)->ThreadRange(1, 4);

void failing_call(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(qm_call(0, QM_CALL_REFHANDLE, nullptr));
}
BENCHMARK(failing_call);

// ---- Memory ------------------------------------------------------------------------------------

void runtime_block(benchmark::State& state) {
  for (auto _ : state) {
    void* block = std::malloc(16);
    benchmark::DoNotOptimize(block);
    std::free(block);
  }
}
BENCHMARK(runtime_block);

void tracked_block(benchmark::State& state) {
  for (auto _ : state) {
    qm_realloc block{nullptr, 16};
    qm_call(0, QM_CALL_REALLOC, &block);
    block.size = 0;
    qm_call(0, QM_CALL_REALLOC, &block);
  }
}
BENCHMARK(tracked_block)->ThreadRange(1, 4);

// ---- Handles -----------------------------------------------------------------------------------

// An instance of the module beside this program that answers every code at once.
class Instance {
 public:
  Instance() { qm_call(0, QM_CALL_OPENMODULEW, &record_); }
  ~Instance() {
    qm_handle_ref handle{record_.handle};
    qm_call(0, QM_CALL_CLOSEHANDLE, &handle);
  }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  std::uint32_t handle() const { return record_.handle; }

 private:
  qm_open_module_w record_{QM_W("idle_module"), nullptr, 0};
};

constexpr std::uint32_t kAnyCode = 0x12340001;

void through_a_handle(benchmark::State& state) {
  const Instance instance;
  if (instance.handle() == 0) state.SkipWithError("the module cannot be opened");
  for (auto _ : state) benchmark::DoNotOptimize(qm_call(instance.handle(), kAnyCode, nullptr));
}
BENCHMARK(through_a_handle)->ThreadRange(1, 4);

// What hosts do that count each call: resolve once, then call the module itself.
void resolved(benchmark::State& state) {
  const Instance instance;
  qm_resolve_handle target{instance.handle(), 0, nullptr, nullptr};
  if (qm_call(0, QM_CALL_RESOLVEHANDLE, &target) == 0) {
    state.SkipWithError("the module cannot be opened");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(target.entry(target.owner_handle, kAnyCode, nullptr));
  }
  qm_handle_ref handle{instance.handle()};
  qm_call(0, QM_CALL_UNREFHANDLE, &handle);
}
BENCHMARK(resolved);

}  // namespace
