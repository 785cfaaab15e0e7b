// Start-up and shutdown of the kernel in their fixed order.
#pragma once

#include <atomic>

namespace qmsd {

// Driven by the loader's notices (Windows), by constructor and destructor (native), or by tests.
void attach();
// `process_ends`: the other threads are gone already, so no lock may be waited for.
void detach(bool process_ends);
void thread_attach() noexcept;
void thread_detach() noexcept;

// The host executable's full name for messages and logs, "NOAPP" when it cannot be had.
const char* application_name() noexcept;
void capture_application_name() noexcept;

// From the end of what the first calls do to the last step of detach. Every call asks for it, so it
// is read in place, and nothing else has to be looked at while it holds.
inline std::atomic<bool> g_kernel_runs{false};
inline bool kernel_runs() noexcept { return g_kernel_runs.load(std::memory_order_relaxed); }

// Set by the last step of detach: from then on only the get-error codes answer.
bool kernel_closed() noexcept;

// The texts and groups of the property store are loaded once, by attach or by the first call.
void load_tables_once();
// After that the first call pins the numeric locale to "C".
void pin_numeric_locale_once() noexcept;

}  // namespace qmsd
