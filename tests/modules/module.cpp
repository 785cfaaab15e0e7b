// Every test module but the property store: a well-behaved module whose exports the build chooses.
//
// TM_INFO  what is exported as `qmmoduleinfo`: nothing, or a record of some kind
// TM_CALL  whether `qm_call` is exported, and what it answers to the question for its information
// TM_DEFAULTS  the start value of a setting
#include "tests/modules/module_support.h"

// Values of TM_INFO and TM_CALL.
#define TM_none 0      // not exported
#define TM_basic 1     // a basic record
#define TM_foreign 2   // a record of an unknown kind
#define TM_extended 3  // an extended record (TM_INFO only)
#define TM_nullcall 4  // a basic record without a call entry (TM_INFO only)
#define TM_norecord 5  // answers 1 without a record (TM_CALL only)
#define TM_refuses 6   // answers 0 (TM_CALL only)

extern const char test_module::kDefaults[] = TM_DEFAULTS;

namespace {

int32_t QM_STDCALL entry(uint32_t handle, uint32_t code, void* params);

constexpr uint32_t kForeignId = 0x12345678;

#if TM_INFO != TM_extended || TM_CALL == TM_basic || TM_CALL == TM_foreign
constexpr qm_module_info make_info(uint32_t id, qm_call_fn call) {
  return {id, 0x01020304, "Test module", QM_W("Test module"), call};
}
#endif

uint32_t g_instances = 0;

int32_t open_instance(qm_open_module_w* record) {
  char name[256];
  char group[256];
  test_module::journal("open name=%s group=%s", test_module::show(record->name, name, sizeof name),
                       test_module::show(record->group, group, sizeof group));
  // The kernel clears it, so that a module without instances need not write it.
  if (record->handle != 0) test_module::journal("open handle=%x", record->handle);
  if (test_module::setting(TM_OPEN_FIELDS) != 0) {
    tm_open_module* whole = reinterpret_cast<tm_open_module*>(record);
    test_module::journal("open fields=%u,%u", whole->first++, whole->second++);
  }
  if (test_module::setting(TM_OPEN_SLEEP) != 0)
    test_module::sleep(test_module::setting(TM_OPEN_SLEEP));
  if (test_module::setting(TM_OPEN_RELEASES) != 0) {
    qm_handle_ref handle{static_cast<uint32_t>(test_module::setting(TM_OPEN_RELEASES))};
    test_module::call_kernel(0, QM_CALL_CLOSEHANDLE, &handle);
  }
  record->handle = __atomic_add_fetch(&g_instances, 1, __ATOMIC_RELAXED);
  return test_module::setting(TM_OPEN_RESULT);
}

int32_t close_instance(uint32_t handle) {
  test_module::journal("close %x", handle);
  if (test_module::setting(TM_CLOSE_SLEEP) != 0)
    test_module::sleep(test_module::setting(TM_CLOSE_SLEEP));
  if (test_module::setting(TM_CLOSE_OPENS) > 0) {
    test_module::set(TM_CLOSE_OPENS, test_module::setting(TM_CLOSE_OPENS) - 1);
    test_module::open_module(test_module::wide_name());
  }
  return test_module::setting(TM_CLOSE_RESULT);
}

int32_t answer_information([[maybe_unused]] qm_info_request* request) {
  test_module::journal("info");
#if TM_CALL == TM_basic
  static constexpr qm_module_info info = make_info(QM_MODULE_ID, &entry);
  request->info = &info;
#elif TM_CALL == TM_foreign
  static constexpr qm_module_info info = make_info(kForeignId, &entry);
  request->info = &info;
#endif
  return TM_CALL == TM_refuses ? 0 : 1;
}

#if TM_INFO == TM_extended
// The older protocol: 0 is success, anything else an error code.
int32_t QM_STDCALL old_entry(uint32_t handle, uint32_t code, void* params) {
  const int32_t result = test_module::setting(TM_OLD_RESULT);
  int32_t common;
  if (test_module::answer_common(code, params, common)) return common;
  switch (code) {
    case QM_CALL_SETKERNELENTRY:
      return test_module::take_notice(static_cast<qm_kernel_entry*>(params));
    case TM_OLD_OPEN: {
      tm_old_open* open = static_cast<tm_old_open*>(params);
      test_module::journal("old %08x %x name=%s group=%s", code, handle, open->name, open->group);
      open->handle = __atomic_add_fetch(&g_instances, 1, __ATOMIC_RELAXED);
      return result;
    }
    case TM_OLD_CLOSE:
      test_module::journal("old %08x %x closes %x", code, handle,
                           static_cast<qm_handle_ref*>(params)->handle);
      return result;
    case TM_OLD_INFO:
      test_module::journal("old %08x %x", code, handle);
      static_cast<tm_old_info*>(params)->info = &g_instances;
      return result;
    default:
      test_module::journal("old %08x %x", code, handle);
      return test_module::setting(TM_CALL_RESULT);
  }
}
#endif

[[maybe_unused]] int32_t QM_STDCALL entry(uint32_t handle, uint32_t code, void* params) {
  int32_t result;
  if (test_module::answer_common(code, params, result)) return result;
  switch (code) {
    case QM_CALL_GETKERNELINFO:
      return answer_information(static_cast<qm_info_request*>(params));
    case QM_CALL_SETKERNELENTRY:
      return test_module::take_notice(static_cast<qm_kernel_entry*>(params));
    case QM_CALL_OPENMODULEW:
      return open_instance(static_cast<qm_open_module_w*>(params));
    case QM_CALL_CLOSEHANDLE:
      return close_instance(handle);
    default:
      test_module::journal("call %08x %x", code, handle);
      if (test_module::setting(TM_CALL_VARIANTS) != 0) test_module::use_a_variant();
      return test_module::setting(TM_CALL_RESULT);
  }
}

}  // namespace

extern "C" {

#if TM_INFO == TM_basic
TM_EXPORT extern const qm_module_info qmmoduleinfo = make_info(QM_MODULE_ID, &entry);
#elif TM_INFO == TM_foreign
TM_EXPORT extern const qm_module_info qmmoduleinfo = make_info(kForeignId, &entry);
#elif TM_INFO == TM_nullcall
TM_EXPORT extern const qm_module_info qmmoduleinfo = make_info(QM_MODULE_ID, nullptr);
#elif TM_INFO == TM_extended
TM_EXPORT extern const qm_extended_info qmmoduleinfo = {
    QM_EXTENDED_MODULE_ID, 0x01020304, "Extended test module", nullptr, nullptr, &old_entry};
#endif

#if TM_CALL != TM_none
TM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t code, void* params) {
  return entry(handle, code, params);
}
#endif

}  // extern "C"
