// Checks of the information record.
#include <algorithm>
#include <cstring>

#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

void has_identifier(Subject& module) {
  expect(module.reading().image.exports_name("qmmoduleinfo"),
         "the library exports no qmmoduleinfo");
  const auto library = module.load();
  const std::uint32_t id = module.exported_information(library).id;
  expect(id == QM_MODULE_ID, "it is " + hexadecimal(id));
}

void has_version(Subject& module) {
  const auto library = module.load();
  expect(module.exported_information(library).version != 0, "it is 0");
}

void has_description(Subject& module) {
  constexpr std::size_t kLongest = 200;
  const auto library = module.load();
  const char* const text = module.exported_information(library).description;
  expect(text != nullptr, "it is null");
  const std::string description(text, ::strnlen(text, kLongest + 1));
  expect(!description.empty(), "it is empty");
  expect(description.size() <= kLongest, "it is longer than 200 bytes, or has no end");
  const bool is_printable =
      std::ranges::none_of(description, [](char unit) { return unit >= 0 && unit < ' '; });
  expect(is_printable, "it holds control characters");
}

void describes_the_same(Subject& module) {
  const auto library = module.load();
  const qm_module_info& info = module.exported_information(library);
  expect(info.description_wide != nullptr, "the wide one is null");
  const std::string narrow = info.description != nullptr ? info.description : "";
  const std::string wide = qm::to_utf8(info.description_wide);
  expect(wide == narrow, "narrow \"" + narrow + "\", wide \"" + wide + "\"");
}

void has_entry_of_its_own(Subject& module) {
  const auto library = module.load();
  const qm_call_fn entry = module.exported_information(library).call;
  expect(entry != nullptr, "it is null");
  const auto owner = file_of_address(reinterpret_cast<const void*>(entry));
  const auto own = file_of_address(library.find("qmmoduleinfo"));
  expect(owner == own, "it leads to " + (owner.empty() ? "no library" : utf8(owner)));
}

// Asks the module's own entry.
const qm_module_info* ask(const Instance& instance) {
  qm_info_request request{nullptr};
  expect(instance.call(QM_CALL_GETKERNELINFO, &request) != 0, "0x10030004 returns 0");
  expect(request.info != nullptr, "0x10030004 returns 1 but no record");
  return request.info;
}

void answers(Subject& module) {
  const Instance instance = module.open_instance();
  const std::uint32_t id = ask(instance)->id;
  expect(id == QM_MODULE_ID, "the record has the identifier " + hexadecimal(id));
}

std::string text_or_nothing(const char* text) { return text != nullptr ? text : ""; }

void answers_the_same(Subject& module) {
  const Instance instance = module.open_instance();
  const auto library = module.load();
  const qm_module_info& exported = module.exported_information(library);
  const qm_module_info& answered = *ask(instance);
  expect(answered.version == exported.version, "the versions differ");
  expect(text_or_nothing(answered.description) == text_or_nothing(exported.description),
         "the descriptions differ");
  expect(answered.call == exported.call, "the call entries differ");
}

void stays_the_same(Subject& module) {
  const Instance instance = module.open_instance();
  const qm_module_info* const first = ask(instance);
  const qm_module_info before = *first;
  { const Instance another = module.open_instance(); }
  expect(ask(instance) == first, "its address changes");
  expect(std::memcmp(first, &before, sizeof before) == 0, "its contents change");
}

void survives_null_record(Subject& module) { module.open_instance().call(QM_CALL_GETKERNELINFO); }

constexpr Check kChecks[] = {
    {"information.identifier", "Its identifier is 0x716D0000",
     "Put QM_MODULE_ID into the first field of qmmoduleinfo.", &has_identifier, Needs::load},
    {"information.version", "It tells a version",
     "Put the version into the second field, a byte for each part.", &has_version, Needs::load},
    {"information.description", "It has a readable description",
     "Put a line of text into the third field.", &has_description, Needs::load},
    {"information.wide-description", "Its two descriptions say the same",
     "Make both from one literal, as in \"text\" and QM_W(\"text\").", &describes_the_same,
     Needs::load},
    {"information.entry", "Its call entry is the module's own",
     "Name a function of the module that is not called qm_call: a program that is linked with the "
     "kernel may get the kernel's.",
     &has_entry_of_its_own, Needs::load},
    {"information.answer", "It answers 0x10030004 with its record",
     "Put the address of the record into the caller's record and return 1.", &answers},
    {"information.same-record", "The record that it answers with is the exported one",
     "Answer with the address of one and the same record.", &answers_the_same},
    {"information.constant", "The record stays where and what it is", "Make the record a constant.",
     &stays_the_same},
    {"information.null-record", "It survives 0x10030004 without a record",
     "Refuse a null record with error 22, \"(!ptr)\".", &survives_null_record},
};

}  // namespace

std::span<const Check> information_checks() { return kChecks; }

}  // namespace qmtool
