// The one source of the test modules that knows the operating system.
#include "tests/modules/module_support.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>
#endif

namespace test_module {
namespace {

char g_name[64];
qm_wchar g_wide_name[64];

int32_t g_settings[TM_SETTING_COUNT];  // written by TM_SET while other threads may read
qm_call_fn g_kernel = nullptr;

constexpr tm_setting kOnesAtStart[] = {TM_OPEN_RESULT, TM_CLOSE_RESULT, TM_NOTICE_RESULT,
                                       TM_CALL_RESULT};

#ifdef _WIN32
// Windows looks for the end of a file and writes there in two steps; two threads that append at
// once may write one line over the other. A mutex by name is one for all the modules of a process,
// and the system takes it from a killed thread.
class AppendLock {
 public:
  AppendLock() {
    char name[48];
    snprintf(name, sizeof name, "test-module-append-%lu", GetCurrentProcessId());
    m_mutex = CreateMutexA(nullptr, FALSE, name);
    WaitForSingleObject(m_mutex, INFINITE);
  }
  ~AppendLock() {
    ReleaseMutex(m_mutex);
    CloseHandle(m_mutex);
  }
  AppendLock(const AppendLock&) = delete;
  AppendLock& operator=(const AppendLock&) = delete;

 private:
  HANDLE m_mutex;
};

void append_to_file(const char* file, const char* text, size_t size) {
  const AppendLock lock;
  const HANDLE out = CreateFileA(file, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (out == INVALID_HANDLE_VALUE) return;
  DWORD written;
  WriteFile(out, text, static_cast<DWORD>(size), &written, nullptr);
  CloseHandle(out);
}
#else
void append_to_file(const char* file, const char* text, size_t size) {
  const int out = open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (out < 0) return;
  const ssize_t written = write(out, text, size);
  (void)written;
  close(out);
}
#endif

// In the order of tm_setting.
constexpr const char* kSettingNames[TM_SETTING_COUNT] = {
    "open_result", "open_sleep",   "open_fields",  "open_releases", "close_result", "close_sleep",
    "close_opens", "notice_sleep", "notice_opens", "notice_result", "call_result",  "load_opens",
    "load_sleep",  "unload_calls", "old_result",   "call_variants",
};

// Takes each "PREFIX" "SETTING=VALUE" out of the text.
void read_settings(const char* prefix, const char* text) {
  for (int32_t which = 0; which < TM_SETTING_COUNT; ++which) {
    char key[128];
    const int size = snprintf(key, sizeof key, "%s%s=", prefix, kSettingNames[which]);
    const char* at = strstr(text, key);
    if (at == nullptr || (at != text && at[-1] != ' ')) continue;
    set(static_cast<tm_setting>(which), static_cast<int32_t>(strtol(at + size, nullptr, 0)));
  }
}

// A library loaded again may lie where its last life lay, which looks like a race to a checker that
// does not know of loading.
#if defined(__SANITIZE_THREAD__)
[[gnu::no_sanitize_thread]]
#endif
void take_name(const char* path) {
  for (const char* at = path; *at != 0; ++at) {
    if (*at == '/' || *at == '\\') path = at + 1;
  }
  const size_t end = static_cast<size_t>(strrchr(path, '.') - path);
  for (size_t i = 0; i < end && i < sizeof g_name - 1; ++i) {
    g_name[i] = path[i];
    g_wide_name[i] = static_cast<unsigned char>(path[i]);
  }
}

// The current message behind the kernel's tag; the whole message without one.
void journal_error_detail() {
  char message[512] = "";
  qm_get_error_a error{0, message, sizeof message};
  kernel()(0, QM_CALL_GETERRORA, &error);
  const char* const tag = strstr(message, "[qmsd] ");
  journal("nested %s", tag == nullptr ? message : tag + 7);
}

// What a module's clean-up code may try while the kernel unloads it.
void call_while_unloading() {
  if (kernel() == nullptr) return;
  if (setting(TM_UNLOAD_CALLS) > 1) {
    call_kernel(QM_GROUP_HANDLE(setting(TM_UNLOAD_CALLS)), QM_CALL_NOP, nullptr);
    return;
  }
  qm_open_module_w open{QM_W("tm_plain"), nullptr, 0};
  call_kernel(0, QM_CALL_OPENMODULEW, &open);
  qm_handle_ref handle{0x10000};
  call_kernel(0, QM_CALL_CLOSEHANDLE, &handle);
  qm_realloc block{nullptr, 16};
  if (call_kernel(0, QM_CALL_REALLOC, &block) != 0) {
    block.size = 0;
    call_kernel(0, QM_CALL_REALLOC, &block);
  }
  // By now nothing has the handle, whoever had it before.
  constexpr uint32_t kGone = 0x10000;
  qm_resolve_handle resolved{kGone, 0, nullptr, nullptr};
  call_kernel(0, QM_CALL_RESOLVEHANDLE, &resolved);
  qm_handle_ref reference{kGone};
  call_kernel(0, QM_CALL_REFHANDLE, &reference);
  call_kernel(0, QM_CALL_UNREFHANDLE, &reference);
  call_kernel(kGone, QM_CALL_NOP, nullptr);
  journal_error_detail();
  qm_slot slot{};
  if (call_kernel(0, QM_CALL_SLOTCREATE, &slot) != 0) call_kernel(0, QM_CALL_SLOTRELEASE, &slot);
  use_a_variant();
}

void on_load(const char* path) {
  take_name(path);
  for (const tm_setting which : kOnesAtStart) set(which, 1);
  read_settings("", kDefaults);
  char text[4096];
  environment("TM_SETTINGS", text, sizeof text);
  char prefix[80];
  snprintf(prefix, sizeof prefix, "%s.", g_name);
  read_settings(prefix, text);
  environment("TM_KERNEL", text, sizeof text);
  if (text[0] != 0) set_kernel(reinterpret_cast<qm_call_fn>(strtoull(text, nullptr, 16)));
  journal("load");
  if (setting(TM_LOAD_SLEEP) != 0) sleep(setting(TM_LOAD_SLEEP));
  if (setting(TM_LOAD_OPENS) != 0 && kernel() != nullptr) {
    open_module(setting(TM_LOAD_OPENS) == 1 ? g_wide_name : QM_W("tm_plain"));
  }
}

void on_unload() {
  journal("unload");
  if (setting(TM_UNLOAD_CALLS) != 0) call_while_unloading();
}

}  // namespace

const char* name() { return g_name; }
const qm_wchar* wide_name() { return g_wide_name; }

int32_t setting(tm_setting which) { return __atomic_load_n(&g_settings[which], __ATOMIC_RELAXED); }
void set(tm_setting which, int32_t value) {
  __atomic_store_n(&g_settings[which], value, __ATOMIC_RELAXED);
}

void journal(const char* format, ...) {
  char file[512];
  environment("TM_JOURNAL", file, sizeof file);
  if (file[0] == 0) return;
  char line[1024];
  int size = snprintf(line, sizeof line, "%s ", g_name);
  va_list arguments;
  va_start(arguments, format);
  size += vsnprintf(line + size, sizeof line - static_cast<size_t>(size) - 1, format, arguments);
  va_end(arguments);
  size_t length = strlen(line);
  line[length++] = '\n';
  append_to_file(file, line, length);
  (void)size;
}

const char* show(const qm_wchar* text, char* buffer, size_t size) {
  if (text == nullptr) return "(null)";
  char* out = buffer;
  char* const last = buffer + size - 8;
  for (; *text != 0 && out < last; ++text) {
    const unsigned unit = static_cast<unsigned>(*text);
    if (unit >= 0x20 && unit < 0x7F) {
      *out++ = static_cast<char>(unit);
    } else {
      out += snprintf(out, 8, "\\u%04X", unit);
    }
  }
  *out = 0;
  return buffer;
}

void sleep(int32_t milliseconds) {
#ifdef _WIN32
  Sleep(static_cast<DWORD>(milliseconds));
#else
  const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000L};
  nanosleep(&time, nullptr);
#endif
}

void environment(const char* name, char* buffer, size_t size) {
#ifdef _WIN32
  const DWORD length = GetEnvironmentVariableA(name, buffer, static_cast<DWORD>(size));
  if (length == 0 || length >= size) buffer[0] = 0;
#else
  const char* value = getenv(name);
  snprintf(buffer, size, "%s", value == nullptr ? "" : value);
#endif
}

qm_call_fn kernel() { return __atomic_load_n(&g_kernel, __ATOMIC_RELAXED); }
void set_kernel(qm_call_fn entry) { __atomic_store_n(&g_kernel, entry, __ATOMIC_RELAXED); }

int32_t call_kernel(uint32_t handle, uint32_t code, void* record) {
  const int32_t result = kernel()(handle, code, record);
  const int32_t error = result == 0 ? kernel()(0, QM_CALL_GETERRORW, nullptr) : 0;
  journal("nested %08x result=%d error=%x", code, result, static_cast<unsigned>(error));
  return result;
}

void open_module(const qm_wchar* name) {
  qm_open_module_w record{name, nullptr, 0};
  call_kernel(0, QM_CALL_OPENMODULEW, &record);
}

void use_a_variant() {
  const int32_t number = 42;
  int64_t wider = 0;
  qm_variant_create made{nullptr, 1, nullptr, QM_TYPE_SIGNED, sizeof number, 1, &number};
  if (call_kernel(0, QM_CALL_VARIANTCREATE, &made) == 0) return;
  qm_variant_convert read{made.variant, 0, QM_TYPE_SIGNED, sizeof wider, 1, &wider, sizeof wider};
  call_kernel(0, QM_CALL_VARIANTCONVERT, &read);
  call_kernel(0, QM_CALL_VARIANTRELEASE, made.variant);
}

bool answer_common(uint32_t code, void* params, int32_t& result) {
  const auto number = [params] { return static_cast<tm_number*>(params)->number; };
  result = 1;
  switch (code) {
    case TM_SET: {
      const tm_set* change = static_cast<tm_set*>(params);
      set(static_cast<tm_setting>(change->setting), change->value);
      return true;
    }
    case TM_RESULT:
      result = number();
      return true;
    case TM_SLEEP:
      sleep(number());
      return true;
    case TM_FAIL: {
      qm_set_error_w error{QM_SET_ERROR_LITERAL, number(), QM_W("from the module"), nullptr};
      kernel()(0, QM_CALL_SETERRORW, &error);
      result = 0;
      return true;
    }
    case TM_ALLOCATE:
      result = kernel()(0, QM_CALL_REALLOC, params);
      return true;
    case TM_FORWARD: {
      tm_forward* call = static_cast<tm_forward*>(params);
      for (int32_t i = 0; i < call->times; ++i) {
        call->result = kernel()(call->handle, call->code, call->record);
      }
      return true;
    }
    default:
      return false;
  }
}

int32_t take_notice(const qm_kernel_entry* entry) {
  set_kernel(entry->entry);
  journal("notice entry=%d", kernel()(0, QM_CALL_NOP, nullptr));
  if (setting(TM_NOTICE_OPENS) != 0) open_module(g_wide_name);
  if (setting(TM_NOTICE_SLEEP) != 0) {
    sleep(setting(TM_NOTICE_SLEEP));
    journal("notice done");
  }
  return setting(TM_NOTICE_RESULT);
}

#ifdef _WIN32
void load(HINSTANCE library) {
  char path[MAX_PATH];
  GetModuleFileNameA(library, path, sizeof path);
  on_load(path);
}
void unload() { on_unload(); }
#else
namespace {
[[gnu::constructor]] void load() {
  Dl_info own;
  dladdr(g_name, &own);
  on_load(own.dli_fname);
}
[[gnu::destructor]] void unload() { on_unload(); }
}  // namespace
#endif

}  // namespace test_module

#ifdef _WIN32
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) test_module::load(library);
  if (reason == DLL_PROCESS_DETACH) test_module::unload();
  return TRUE;
}
#endif
