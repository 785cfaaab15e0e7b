// Checks of opening instances.
#include <string>
#include <vector>

#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

void opens(Subject& module) {
  auto handle = module.open();
  module.enter("while it is closed");
  handle.close();
}

void gives_handle(Subject& module) { expect(module.open_instance().handle != 0, "it is 0"); }

void opens_with_group(Subject& module) { module.open_with_group("qmtool"); }

void opens_two(Subject& module) {
  const auto first = module.open();
  const auto second = module.open();
  expect(first.try_info().has_value(), "the first one does not answer");
  expect(second.try_info().has_value(), "the second one does not answer");
}

void opens_thousand_times(Subject& module) {
  const auto keeps_it_loaded = module.open();
  for (int i = 0; i < 1000; ++i) module.open().close();
}

// A module may have a limit, if it says so.
void opens_thousand(Subject& module) {
  std::vector<qm::ModuleHandle> all;
  for (int i = 0; i < 1000; ++i) {
    module.kernel().set_error(qm::Error(0, ""));
    auto opened = qm::ModuleHandle::try_open(module.kernel(), module.target().name);
    if (!opened) {
      expect(opened.error().code() != 0,
             "number " + std::to_string(i + 1) + " is refused without an error");
      break;
    }
    all.push_back(std::move(opened).value());
  }
  all.clear();
  module.open();
}

// A call of the module's own entry; what it opens is closed.
void open_raw(const Instance& instance, qm_open_module_w* record) {
  if (instance.entry(0, QM_CALL_OPENMODULEW, record) == 0 || record == nullptr) return;
  qm_handle_ref handle{record->handle};
  instance.entry(record->handle, QM_CALL_CLOSEHANDLE, &handle);
}

void survives_null_record(Subject& module) {
  const Instance instance = module.open_instance();
  expect(instance.entry(0, QM_CALL_OPENMODULEW, nullptr) == 0, "it returns 1");
}

void survives_null_texts(Subject& module) {
  const Instance instance = module.open_instance();
  qm_open_module_w record{nullptr, nullptr, 0};
  open_raw(instance, &record);
}

void survives_long_texts(Subject& module) {
  const Instance instance = module.open_instance();
  const qm::WideString text(20000, 'x');
  qm_open_module_w record{text.c_str(), text.c_str(), 0};
  open_raw(instance, &record);
}

void keeps_texts(Subject& module) {
  const Instance instance = module.open_instance();
  const qm::Text name = module.target().name;
  const qm::Text group = "qmtool";
  qm_open_module_w record{name.c_str(), group.c_str(), 0};
  open_raw(instance, &record);
  expect(record.name == name.c_str() && record.group == group.c_str(),
         "name and group in the record are others afterwards");
}

constexpr Check kChecks[] = {
    {kOpenCheck, "It opens and closes an instance",
     "Answer 0x10030000 with 1 and a handle, and 0x10030002 with 1; \"qmtool inspect\" tells more.",
     &opens, Needs::load},
    {"open.handle", "Its handle for an instance is not 0",
     "Count handles from 1: 0 means a call without an instance.", &gives_handle, Needs::open,
     Weight::should},
    {"open.group", "It opens with a property group",
     "Take a group that has no properties as one that is not given.", &opens_with_group},
    {"open.two-at-once", "It opens two instances at once",
     "Keep the state of an instance apart from that of the others.", &opens_two},
    {"open.thousand-times", "It opens and closes 1,000 times",
     "Give back at the close what the open took.", &opens_thousand_times},
    {"open.thousand-at-once", "It opens 1,000 instances, or refuses with an error",
     "Record an error, such as 12, when there is no room for another instance.", &opens_thousand},
    {"open.null-record", "It refuses to open without a record",
     "Refuse a null record with error 22, \"(!ptr)\".", &survives_null_record},
    {"open.null-texts", "It survives an open without name and group",
     "Look at name and group only when they are not null.", &survives_null_texts},
    {"open.long-texts", "It survives very long names",
     "Copy no more of a text than there is room for.", &survives_long_texts},
    {"open.keeps-texts", "It leaves name and group in the record alone",
     "Write the handle, and nothing else that is not the module's own.", &keeps_texts},
};

}  // namespace

std::span<const Check> open_checks() { return kChecks; }

}  // namespace qmtool
