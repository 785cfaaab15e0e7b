// Checks of calls that a module has to refuse.
#include <string>

#include "toolkit/qmtool/group_table.h"
#include "toolkit/qmtool/system/convention.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

// Larger than any record that the kernel knows.
struct EmptyRecord {
  std::uint32_t words[64] = {};
};

void refuses_unknown_code(Subject& module) {
  EmptyRecord record;
  expect(!module.open().try_call(kUnknownCode, &record),
         "a call with the code " + hexadecimal(kUnknownCode) + " succeeds");
}

void refuses_without_record(Subject& module) {
  const auto handle = module.open();
  expect(!handle.try_call(kUnknownCode), "the call succeeds");
}

void survives_many_codes(Subject& module) {
  const Instance instance = module.open_instance();
  for (std::uint32_t code = 0; code < 10000; ++code) {
    // Spread over all groups but those of the kernel and of the family.
    instance.call(0x20000000 + code * 0x0001A2B3 % 0x50000000);
  }
}

// The codes that the module does serve are known to its writer alone.
void survives_own_codes(Subject& module) {
  const auto codes = parse_range(module.options().codes);
  if (!codes) throw CheckSkipped("tell the module's codes with --codes FIRST-LAST");
  const Instance instance = module.open_instance();
  for (std::uint32_t code = codes->first; code <= codes->last; ++code) {
    for (const std::uint32_t handle : {instance.handle, kWrongHandle, 0u}) {
      instance.entry(handle, code, nullptr);
    }
  }
}

void leaves_error(Subject& module) {
  const auto handle = module.open();
  module.kernel().set_error(qm::Error(0, ""));
  module.kernel().call_raw(handle.get(), kUnknownCode);
  expect(module.kernel().error().code() != 0, "the error state is empty after a refusal");
}

void explains_error(Subject& module) {
  const auto handle = module.open();
  const auto refused = handle.try_call(kUnknownCode);
  if (refused) throw CheckSkipped("the module refuses nothing");
  const qm::Error error = refused.error();
  module.kernel().set_error(error.code(), "");
  const std::string plain(module.kernel().error().text());
  expect(error.text().size() > plain.size(), "the message is no more than \"" + plain + "\"");
}

void survives_wrong_handle(Subject& module) {
  const Instance instance = module.open_instance();
  EmptyRecord record;
  instance.entry(kWrongHandle, kUnknownCode, &record);
  expect(instance.entry(kWrongHandle, kUnknownCode, nullptr) == 0, "a call with it succeeds");
}

void survives_missing_handle(Subject& module) {
  module.open_instance().entry(0, kUnknownCode, nullptr);
}

// What a caller who mixes up handles sends: the kernel passes most of its own codes on.
void survives_kernel_codes(Subject& module) {
  const Instance instance = module.open_instance();
  for (const std::uint32_t group : {0x10000000u, 0x10010000u, 0x10020000u, 0x10040000u}) {
    for (std::uint32_t code = 0; code < 0x30; ++code) instance.call(group + code);
  }
  for (std::uint32_t code = QM_CALL_CLOSE; code < QM_CALL_SETKERNELENTRY; code += 0x7F) {
    instance.call(code);
  }
}

void survives_null_notice(Subject& module) {
  module.open_instance().entry(0, QM_CALL_SETKERNELENTRY, nullptr);
}

void survives_second_notice(Subject& module) {
  const Instance instance = module.open_instance();
  qm_kernel_entry notice{module.kernel().entry()};
  instance.entry(0, QM_CALL_SETKERNELENTRY, &notice);
  notice.entry = nullptr;  // it lives during the call only
  module.open();
}

void serves_its_groups(Subject& module) {
  bool any = false;
  for (const Group& group : group_table(module.kernel())) {
    if (group.module != module.target().name) continue;
    any = true;
    const auto refused =
        module.kernel().try_call_at(QM_GROUP_HANDLE(group.id), kUnknownCode, nullptr);
    expect(!refused, "an unknown code succeeds through the group");
    expect(refused.error().code() != QM_ERROR_LOAD, describe(refused.error()));
  }
  if (!any) throw CheckSkipped("no group of function codes is the module's");
}

void balances_stack(Subject& module) {
  if (!kKnowsConventions) throw CheckSkipped("there is only one convention here");
  const auto library = module.load();
  qm_kernel_entry notice{module.kernel().entry()};
  const auto [result, drift] =
      call_measured(module.exported_information(library).call, 0, QM_CALL_SETKERNELENTRY, &notice);
  expect(drift == 0, "a call leaves the stack " + std::to_string(drift) + " bytes off");
}

constexpr const char* kDefaultAdvice =
    "Let everything that is no code of the module record error 22 and return 0.";

constexpr Check kChecks[] = {
    {"call.unknown-code", "It refuses a code that it does not know", kDefaultAdvice,
     &refuses_unknown_code},
    {"call.null-record", "It refuses such a code without a record", kDefaultAdvice,
     &refuses_without_record},
    {"call.many-codes", "It survives 10,000 unknown codes without a record",
     "Look at the record only behind the look at the code, and not at a null one.",
     &survives_many_codes},
    {"call.own-codes", "It survives its own codes without a record",
     "Refuse a null record with error 22, \"(!ptr)\", before anything else.", &survives_own_codes},
    {"call.error", "It leaves an error when it refuses",
     "Record an error with QM_CALL_SETERRORW before returning 0.", &leaves_error},
    {"call.error-text", "Its errors say what is wrong",
     "Give a text with the error: the condition that failed, as in \"(!name)\".", &explains_error,
     Needs::open, Weight::should},
    {"call.wrong-handle", "It refuses a wrong handle",
     "Look handles up in a list of open instances; never use them as addresses.",
     &survives_wrong_handle},
    {"call.no-handle", "It survives a call without an instance",
     "Expect handle 0: calls through a group have it.", &survives_missing_handle},
    {"call.kernel-codes", "It survives the kernel's codes", kDefaultAdvice, &survives_kernel_codes},
    {"call.null-notice", "It survives 0x1003FFFF without a record",
     "Refuse a null record with error 22, \"(!ptr)\".", &survives_null_notice},
    {"call.second-notice", "It survives being told the kernel's entry twice",
     "Keep the entry itself, not the address of the record that brings it.",
     &survives_second_notice},
    {"call.group", "It can be reached through its group of function codes",
     "Answer calls with handle 0 as well, or refuse them with an error.", &serves_its_groups},
    {"call.stack", "Its entry leaves the stack as the calling convention wants it",
     "Declare the entry with QM_STDCALL.", &balances_stack, Needs::load},
};

}  // namespace

std::span<const Check> call_checks() { return kChecks; }

}  // namespace qmtool
