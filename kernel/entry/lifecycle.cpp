// Start-up and shutdown: every subsystem up and down in one fixed order.
#include "kernel/entry/lifecycle.h"

#include <atomic>
#include <clocale>

#include "include/qmsd7.h"
#include "kernel/base/trace.h"
#include "kernel/base/waiting.h"
#include "kernel/entry/handle_table.h"
#include "kernel/errors/error_state.h"
#include "memory/tracked_allocator.h"
#include "modules/registry.h"
#include "modules/slots.h"
#include "modules/table_loader.h"
#include "platform/environment.h"
#include "platform/runtime_text.h"
#include "services/tables/error_texts.h"
#include "services/tables/group_table.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

std::atomic<bool> g_closed{false};
std::atomic<bool> g_tables_loaded{false};
std::atomic<bool> g_numeric_locale_pending{false};

// The numeric category has no variable on purpose: numbers are read and written the "C" way.
constexpr struct {
  const char* variable;
  int category;
} kLocaleVariables[] = {
    {"LANG", LC_ALL},       {"LC_ALL", LC_ALL},           {"LC_COLLATE", LC_COLLATE},
    {"LC_CTYPE", LC_CTYPE}, {"LC_MONETARY", LC_MONETARY}, {"LC_TIME", LC_TIME},
};

// A value that the runtime refuses changes nothing, but still counts as a choice of the user.
void set_locale_from_environment() {
  bool chosen = false;
  for (const auto& row : kLocaleVariables) {
    char value[512];
    const platform::Variable found = platform::read_variable(row.variable, value, sizeof value);
    if (found == platform::Variable::missing) continue;
    chosen = true;
    if (found == platform::Variable::present) std::setlocale(row.category, value);
  }
  if (!chosen) std::setlocale(LC_ALL, "");
  std::setlocale(LC_NUMERIC, "C");
}

// Traces a table's statistics before it is destroyed. If that fails, shutdown goes on.
template <class Statistics>
void report([[maybe_unused]] Statistics statistics) {
  if constexpr (kTracing) {
    try {
      trace("%s", statistics().c_str());
    } catch (...) {
      trace("no statistics");
    }
  }
}

}  // namespace

void attach() {
  g_kernel_runs = false;
  g_closed = false;
  g_tables_loaded = false;
  platform::warm_up_runtime();
  set_locale_from_environment();
  error_texts_create();
  error_state_create();
  tracked_create();
  slots_create();
  handles_create();
  registry_create();
  variants_create();
  groups_create();
  load_tables_once();
}

void detach(bool process_ends) {
  if (process_ends) give_up_waiting();
  if (!kernel_closed()) qm_call(0, QM_CALL_CLOSE, nullptr);
  report(handle_statistics);
  handles_destroy();
  report(registry_statistics);
  registry_destroy();
  groups_destroy();
  variants_destroy();
  slots_destroy();
  report(tracked_statistics);
  tracked_destroy();
  error_state_destroy();
  error_texts_destroy();
  trace("--- qmsd closed");
  g_kernel_runs = false;
  g_closed = true;
}

void thread_attach() noexcept { error_thread_reset(); }
void thread_detach() noexcept { error_thread_clear(); }

bool kernel_closed() noexcept { return g_closed.load(std::memory_order_relaxed); }

void load_tables_once() {
  if (g_tables_loaded.load(std::memory_order_relaxed) || g_tables_loaded.exchange(true)) return;
  error_texts_load();
  groups_load();
  g_numeric_locale_pending = true;
}

void pin_numeric_locale_once() noexcept {
  if (!g_numeric_locale_pending.load(std::memory_order_relaxed)) return;
  if (!g_numeric_locale_pending.exchange(false)) return;
  std::setlocale(LC_NUMERIC, "C");
  g_kernel_runs = true;
}

}  // namespace qmsd
