// What the test modules share: settings, journal, sleeping, and the way to the kernel.
// Plain data only: a module may be called when its library's own start-up and clean-up are over.
#pragma once

#include <stddef.h>

#include "tests/modules/test_module.h"

#if defined(_WIN32)
#define TM_EXPORT __declspec(dllexport)
#else
#define TM_EXPORT __attribute__((visibility("default")))
#endif

namespace test_module {

// Each module defines its own start values: "SETTING=VALUE", or an empty text.
extern const char kDefaults[];

// The library's file name without folder and extension, so that a copy has a name of its own.
const char* name();
const qm_wchar* wide_name();

int32_t setting(tm_setting which);
void set(tm_setting which, int32_t value);

// Appends "NAME " and the formatted line to the journal, if the test wants one.
void journal(const char* format, ...);

// ASCII as it is, anything else as \uXXXX; "(null)" for null. Returns the buffer.
const char* show(const qm_wchar* text, char* buffer, size_t size);

void sleep(int32_t milliseconds);

// The value of an environment variable, cut; empty when there is none.
void environment(const char* name, char* buffer, size_t size);

// The kernel's entry, from the notice or from TM_KERNEL; null before.
qm_call_fn kernel();
void set_kernel(qm_call_fn entry);

// Calls the kernel and journals result and error.
int32_t call_kernel(uint32_t handle, uint32_t code, void* record);

// Opens a module and journals the attempt; the handle stays open.
void open_module(const qm_wchar* name);

// Creates a variant, converts and releases it, and journals each of these calls.
void use_a_variant();

// The codes that every test module answers; false when it is another one.
bool answer_common(uint32_t code, void* params, int32_t& result);

// The kernel's notice, with its sleep and calls.
int32_t take_notice(const qm_kernel_entry* entry);

}  // namespace test_module
