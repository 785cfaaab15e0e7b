// A well-behaved module, but for one deed at one moment: the environment variable MISBEHAVE says
// which, as in "open crash". So every way to go wrong can be tried with one library.
#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#include <unistd.h>
#endif

#include <qmsd7.h>

#include <algorithm>
#include <atomic>
#include <cfenv>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

namespace {

int32_t QM_STDCALL serve(uint32_t handle, uint32_t function, void* record);

constexpr const char* kDescription = "Misbehaving test module";
const qm_module_info kInfo = {QM_MODULE_ID, 0x01020304, kDescription,
                              QM_W("Misbehaving test module"), &serve};

std::atomic<qm_call_fn> kernel;
std::atomic<bool> open_handles[16];

bool is_any_open() {
  return std::ranges::any_of(open_handles, [](const auto& open) { return open.load(); });
}
bool is_open(uint32_t handle) { return handle > 0 && handle <= 16 && open_handles[handle - 1]; }

int32_t fail(int32_t code, const qm_wchar* text) {
  qm_set_error_w record{QM_SET_ERROR_LITERAL, code, text, nullptr};
  if (kernel != nullptr) kernel.load()(0, QM_CALL_SETERRORW, &record);
  return 0;
}

// The deed of this moment; "" when there is none.
const char* deed_at(const char* moment) {
  const char* const setting = std::getenv("MISBEHAVE");
  const std::size_t length = std::strlen(moment);
  if (setting == nullptr || std::strncmp(setting, moment, length) != 0) return "";
  return setting[length] == ' ' ? setting + length + 1 : "";
}

[[noreturn]] void crash() {
  *reinterpret_cast<volatile int*>(std::uintptr_t{16}) = 1;
  std::abort();
}

void leak() {
  qm_realloc_pos block{nullptr, 100, "misbehaving.cpp", 1};
  kernel.load()(0, QM_CALL_REALLOCPOS, &block);
}

void open_another() {
  qm_open_module_w open{QM_W("misbehaving"), nullptr, 0};
  kernel.load()(0, QM_CALL_OPENMODULEW, &open);
}

// The thread runs nothing of this library, so that unloading it does no harm.
#ifdef _WIN32
constexpr const char* kOtherLocale = "English";
void start_thread() {
  const auto sleep = reinterpret_cast<void (*)()>(&::Sleep);
  ::CloseHandle(::CreateThread(nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(sleep),
                               reinterpret_cast<void*>(60000), 0, nullptr));
}
#else
constexpr const char* kOtherLocale = "C.UTF-8";
void start_thread() {
  const auto wait = reinterpret_cast<void (*)()>(&::pause);
  pthread_t thread{};
  ::pthread_create(&thread, nullptr, reinterpret_cast<void* (*)(void*)>(wait), nullptr);
  ::pthread_detach(thread);
}
#endif

void change_locale() { std::setlocale(LC_ALL, kOtherLocale); }

struct Deed {
  const char* name;
  void (*run)();
};
constexpr Deed kDeeds[] = {
    {"crash", [] { crash(); }},
    {"hang", [] { std::this_thread::sleep_for(std::chrono::hours(1)); }},
    {"leave", [] { std::_Exit(7); }},
    {"dawdle", [] { std::this_thread::sleep_for(std::chrono::milliseconds(150)); }},
    {"leak", &leak},
    {"open", &open_another},
    {"push", [] { kernel.load()(0, QM_CALL_PUSHERROR, nullptr); }},
    {"thread", &start_thread},
    {"locale", &change_locale},
    {"folder", [] { std::filesystem::current_path(".."); }},
    {"rounding", [] { std::fesetround(FE_UPWARD); }},
};

// True when the moment has to end with a refusal.
bool misbehave(const char* moment) {
  const char* const deed = deed_at(moment);
  for (const Deed& known : kDeeds) {
    if (std::strcmp(known.name, deed) == 0) known.run();
  }
  return std::strcmp(deed, "refuse") == 0;
}
bool is_told(const char* moment, const char* deed) {
  return std::strcmp(deed_at(moment), deed) == 0;
}

int32_t open_instance(qm_open_module_w* record) {
  if (record == nullptr && !is_told("open", "trust")) return fail(22, QM_W("(!ptr)"));
  if (misbehave("open")) return fail(0x8101, QM_W("no licence"));
  if (is_told("open", "silent")) return 0;
  for (uint32_t i = 0; i < 16; ++i) {
    if (open_handles[i].exchange(true)) continue;
    record->handle = i + 1;
    return 1;
  }
  return is_told("open", "no-reason") ? 0 : fail(12, QM_W("(instances)"));
}

int32_t close_instance(uint32_t handle) {
  misbehave("close");
  if (!is_open(handle)) {
    misbehave("stray");
    return fail(2, QM_W("(handle)"));
  }
  if (!is_told("close", "forget")) open_handles[handle - 1] = false;
  return 1;
}

int32_t answer_information(qm_info_request* record) {
  if (record == nullptr && !is_told("information", "trust")) return fail(22, QM_W("(!ptr)"));
  if (misbehave("information")) return 0;
  record->info = &kInfo;
  return 1;
}

int32_t take_notice(qm_kernel_entry* record) {
  if (record == nullptr && !is_told("notice", "trust")) return fail(22, QM_W("(!ptr)"));
  kernel = record->entry;
  misbehave("notice");
  return 1;
}

// A code of the module's own, 0x7E000001: its record is a number.
int32_t double_number(int32_t* number) {
  if (number == nullptr && !is_told("call", "trust")) return fail(22, QM_W("(!ptr)"));
  *number *= 2;
  return 1;
}

int32_t refuse_code(uint32_t handle) {
  misbehave("call");
  if (is_told("call", "accept")) return 1;
  if (is_told("call", "silent")) return 0;
  if (is_told("call", "wrong-handle") && !is_open(handle) && handle != 0) return 1;
  return fail(22, is_told("call", "wordless") ? nullptr : QM_W("(function)"));
}

int32_t QM_STDCALL serve(uint32_t handle, uint32_t function, void* record) {
  switch (function) {
    case QM_CALL_SETKERNELENTRY:
      return take_notice(static_cast<qm_kernel_entry*>(record));
    case QM_CALL_GETKERNELINFO:
      return answer_information(static_cast<qm_info_request*>(record));
    case QM_CALL_OPENMODULEW:
      return open_instance(static_cast<qm_open_module_w*>(record));
    case QM_CALL_CLOSEHANDLE:
      return close_instance(handle);
    case 0x7E000001:
      return double_number(static_cast<int32_t*>(record));
    default:
      return refuse_code(handle);
  }
}

// The library's load and unload routine, as far as C++ has one.
struct Lifetime {
  Lifetime() { misbehave("load"); }
  ~Lifetime() {
    misbehave("unload");
    if (is_any_open()) misbehave("late");
  }
} lifetime;

}  // namespace

extern "C" {

QM_EXPORT extern const qm_module_info qmmoduleinfo;
const qm_module_info qmmoduleinfo = kInfo;

QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params) {
  return serve(handle, function, params);
}
}
