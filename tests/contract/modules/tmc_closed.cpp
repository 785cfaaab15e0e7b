// A library that calls the kernel while it is being unloaded itself, and notes the answers in the
// journal. It may be a module (it gets the kernel's entry in the notice) or a library of the host
// (it gets it through `tmc_use_kernel`). Plain data only.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <initializer_list>

#include "include/qmsd7.h"

#ifdef _WIN32
#include <windows.h>
#define TMC_EXPORT __declspec(dllexport)
#else
#define TMC_EXPORT __attribute__((visibility("default")))
#endif

namespace {

qm_call_fn g_kernel = nullptr;
FILE* g_journal = nullptr;

void note(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fputs("tmc_closed ", g_journal);
  vfprintf(g_journal, format, arguments);
  fputc('\n', g_journal);
  va_end(arguments);
}

// What a reader's buffer holds, its zeroes shown as dots; only as far as it is of interest.
template <class Character>
const char* shown(const Character* buffer, int32_t length, char (&text)[256]) {
  const int32_t room = length > 20 ? length : 20;
  int32_t at = 0;
  for (; at < room; ++at) {
    if (buffer[at] == 0 && length > 20) break;
    text[at] = buffer[at] == 0 ? '.' : static_cast<char>(buffer[at]);
  }
  text[at] = 0;
  return text;
}

template <class Record, class Character>
void read_errors(const char* form, uint32_t code) {
  note("%s null record %d", form, g_kernel(0, code, nullptr));
  Record record{-1, nullptr, 100};
  const int32_t bare = g_kernel(0, code, &record);
  note("%s without buffer %d code %d", form, bare, record.code);
  for (const int32_t length : {-1, 0, 1, 5, 200}) {
    Character buffer[256];
    for (Character& character : buffer) character = '#';
    record = {-1, buffer, length};
    const int32_t result = g_kernel(0, code, &record);
    char text[256];
    note("%s %d: %d code %d %s", form, length, result, record.code, shown(buffer, length, text));
  }
}

void call_anything_else() {
  int answered = 0;
  int touched = 0;
  for (const uint32_t code :
       {0x1000000Fu, 0x10000010u, 0x10000011u, 0x1000F000u, 0x10010002u, 0x10010003u,
        0x10010004u, 0x10010005u, 0x1001000Fu, 0x10020000u, 0x10020001u, 0x10020002u,
        0x10020003u, 0x10020004u, 0x10030000u, 0x10030001u, 0x10030002u, 0x10030004u,
        0x10030005u, 0x10030006u, 0x10030007u, 0x10030013u, 0x10030014u, 0x12345678u}) {
    for (const uint32_t handle : {0u, 0x10000u, 0xFFFF1100u}) {
      unsigned char record[64];
      memset(record, 0, sizeof record);
      if (g_kernel(handle, code, record) != 0) ++answered;
      if (g_kernel(handle, code, nullptr) != 0) ++answered;
      for (const unsigned char byte : record) touched += byte != 0;
    }
  }
  note("other codes %d, %d of them touched their record", answered, touched);
}

void call_closed_kernel() {
  const char* file = getenv("TM_JOURNAL");
#ifdef _WIN32
  char live[512] = "";
  GetEnvironmentVariableA("TM_JOURNAL", live, sizeof live);
  file = live;
#endif
  if (g_kernel == nullptr || file == nullptr) return;
  g_journal = fopen(file, "ab");
  if (g_journal == nullptr) return;
  read_errors<qm_get_error_w, qm_wchar>("wide", QM_CALL_GETERRORW);
  read_errors<qm_get_error_a, char>("narrow", QM_CALL_GETERRORA);
  note("wide through a handle %d", g_kernel(0x10000, QM_CALL_GETERRORW, nullptr));
  note("narrow through a group %d", g_kernel(0xFFFF1100, QM_CALL_GETERRORA, nullptr));
  call_anything_else();
  fclose(g_journal);
}

int32_t QM_STDCALL entry(uint32_t, uint32_t code, void* params) {
  if (code == QM_CALL_SETKERNELENTRY) g_kernel = static_cast<qm_kernel_entry*>(params)->entry;
  return 1;
}

}  // namespace

extern "C" {
TMC_EXPORT extern const qm_module_info qmmoduleinfo = {QM_MODULE_ID, 0, "Caller", QM_W("Caller"),
                                                       &entry};
TMC_EXPORT void tmc_use_kernel(qm_call_fn kernel) { g_kernel = kernel; }
}

#ifdef _WIN32
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_DETACH) call_closed_kernel();
  return TRUE;
}
#else
namespace {
[[gnu::destructor]] void unload() { call_closed_kernel(); }
}  // namespace
#endif
