// What tests and the test modules agree on: the modules' own function codes, their records and
// settings, and the environment variables that reach a module before it is loaded.
#pragma once

#include "include/qmsd7.h"

// Codes that every test module with a call entry answers, with any handle. They are not journaled.
enum tm_code : uint32_t {
  TM_SET = 0x20000001,     // tm_set        changes a setting until the library is unloaded
  TM_RESULT = 0x20000002,  // tm_number     returns the number
  TM_SLEEP = 0x20000003,   // tm_number     sleeps so many milliseconds, returns 1
  TM_FAIL = 0x20000004,    // tm_number     records the number as error "from the module", returns 0
  TM_ALLOCATE = 0x20000005,  // qm_realloc    passes it to the kernel as QM_CALL_REALLOC
  TM_FORWARD = 0x20000006,   // tm_forward    makes the module call the kernel, once or more often
};

// What a module does; the value in parentheses is the setting's start value.
enum tm_setting : int32_t {
  TM_OPEN_RESULT,    // (1) returned by open
  TM_OPEN_SLEEP,     // (0) milliseconds spent in open
  TM_OPEN_FIELDS,    // (0) not 0: open records are tm_open_module; adds 1 to both further fields
  TM_OPEN_RELEASES,  // (0) a kernel handle that open releases
  TM_CLOSE_RESULT,   // (1) returned by close
  TM_CLOSE_SLEEP,    // (0)
  TM_CLOSE_OPENS,    // (0) how many more closes open the module once again
  TM_NOTICE_SLEEP,   // (0) milliseconds spent in the notice of the kernel's entry
  TM_NOTICE_OPENS,   // (0) not 0: the notice opens the module itself
  TM_NOTICE_RESULT,  // (1)
  TM_CALL_RESULT,    // (1) returned by every code that the module does not know
  TM_LOAD_OPENS,     // (0) while it is being loaded 1: opens itself; 2: opens tm_plain
  TM_LOAD_SLEEP,     // (0) milliseconds spent while being loaded
  TM_UNLOAD_CALLS,   // (0) 1: calls the kernel while being unloaded; above: calls that group then
  TM_OLD_RESULT,     // (0) returned to the older open, close and information codes
  TM_CALL_VARIANTS,  // (0) not 0: codes that the module does not know create, convert, release one
  TM_SETTING_COUNT
};

struct tm_set {
  int32_t setting;
  int32_t value;
};

struct tm_number {
  int32_t number;
};

struct tm_forward {
  uint32_t handle;  // in
  uint32_t code;    // in
  void* record;     // in
  int32_t result;   // out, of the last call
  int32_t times = 1;
};

// An open record with fields of the module's own.
struct tm_open_module {
  qm_open_module_w open;
  uint32_t first;
  uint32_t second;
};

// Records of the older protocol.
enum tm_old_code : uint32_t {
  TM_OLD_OPEN = 0x0FFF0011,
  TM_OLD_CLOSE = 0x0FFF0012,
  TM_OLD_INFO = 0x0FFF0013,
};

struct tm_old_open {
  const char* name;
  const char* group;
  uint32_t handle;
};

struct tm_old_info {
  const void* info;
};

// Environment variables, read live.
//
// TM_JOURNAL   Name of a file to which every test module appends a line for what happens to it:
//              (NAME is its file name without folder and extension; a copy has a name of its own)
//                  NAME load | unload
//                  NAME info                                QM_CALL_GETKERNELINFO
//                  NAME notice entry=RESULT                 QM_CALL_SETKERNELENTRY; result of a NOP
//                  NAME notice done                         only with TM_NOTICE_SLEEP
//                  NAME open name=NAME group=GROUP          "(null)" for a null text
//                  NAME open handle=HANDLE                  only if it is not 0 when open begins
//                  NAME open fields=FIRST,SECOND            only with TM_OPEN_FIELDS
//                  NAME close HANDLE                        hexadecimal, no leading zeros
//                  NAME call CODE HANDLE                    any other code, eight digits
//                  NAME nested CODE result=RESULT error=ERROR   calls of its own to the kernel
//                  NAME old CODE HANDLE [name=NAME group=GROUP]
//              The store also writes "qmproperty read PATH" and "qmproperty list PATH".
// TM_SETTINGS  Start values, read when a module is loaded: NAME.SETTING=VALUE, separated by blanks;
//              the settings' names as above, without "TM_" and in lower case.
// TM_KERNEL    Address of the kernel's qm_call in hexadecimal: for modules that call while they are
//              being loaded and have not been told the entry yet.
// TM_STORE     The property store, see below; read when the store is loaded.

// The store (property/qmproperty): lines, each "PATH=VALUE" for a node or "PATH/=LISTING" for a
// listing given literally. Without the latter the children's names are listed, one per line.
// In values "\n", "\r" and "\\" stand for a line feed, a carriage return and a backslash.
// Lines of settings:
//     !open=NAME       opens a module in the notice of the kernel's entry
//     !text=CODE:TEXT  registers an error's text there, the code in hexadecimal
//     !sleep=MS        sleeps in each listing
//     !entry=1         notes "qmproperty entry ADDRESS", the kernel's, in the notice of that
//     !error=CODE      records an error in each read and listing, the code in hexadecimal
//     !silent=1        answers 1 and writes nothing
//     !full=1          fills buffers to their last character, without a terminator
enum tm_store_code : uint32_t {
  TM_STORE_SET = 0x11007F00,  // tm_store_set: replaces the store's content
};

struct tm_store_set {
  const char* lines;
};
