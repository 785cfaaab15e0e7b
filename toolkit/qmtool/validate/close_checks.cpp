// Checks of closing instances.
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

constexpr int kInstances = 8;

std::vector<qm::ModuleHandle> open_some(Subject& module) {
  std::vector<qm::ModuleHandle> all;
  for (int i = 0; i < kInstances; ++i) all.push_back(module.open());
  return all;
}

void closes_in_order(Subject& module) {
  for (qm::ModuleHandle& handle : open_some(module)) handle.close();
  module.open();
}

void closes_backwards(Subject& module) {
  auto all = open_some(module);
  while (!all.empty()) all.pop_back();
  module.open();
}

void closes_in_between(Subject& module) {
  auto all = open_some(module);
  for (std::size_t i = 1; i < all.size(); i += 2) all[i].close();
  for (std::size_t i = 0; i < all.size(); i += 2) {
    expect(all[i].try_info().has_value(), "an instance beside a closed one does not answer");
  }
}

void close_raw(const Instance& instance, std::uint32_t handle) {
  qm_handle_ref record{handle};
  instance.entry(handle, QM_CALL_CLOSEHANDLE, &record);
}

// An instance that only the module knows of.
std::uint32_t open_raw(const Instance& instance, const Subject& module) {
  const qm::Text name = module.target().name;
  qm_open_module_w record{name.c_str(), nullptr, 0};
  if (instance.entry(0, QM_CALL_OPENMODULEW, &record) == 0) {
    throw CheckSkipped("it opens no second instance");
  }
  return record.handle;
}

void survives_null_record(Subject& module) {
  const Instance instance = module.open_instance();
  instance.entry(open_raw(instance, module), QM_CALL_CLOSEHANDLE, nullptr);
}

void survives_wrong_handle(Subject& module) { close_raw(module.open_instance(), kWrongHandle); }

void survives_second_close(Subject& module) {
  const Instance instance = module.open_instance();
  const std::uint32_t handle = open_raw(instance, module);
  close_raw(instance, handle);
  close_raw(instance, handle);
}

void survives_call_after_close(Subject& module) {
  const Instance instance = module.open_instance();
  const std::uint32_t handle = open_raw(instance, module);
  close_raw(instance, handle);
  instance.entry(handle, kUnknownCode, nullptr);
}

constexpr const char* kLookUpAdvice =
    "Look handles up in a list of open instances; never use them as addresses.";

constexpr Check kChecks[] = {
    {"close.in-order", "Instances can be closed in the order in which they were opened",
     "Keep instances independent of each other.", &closes_in_order},
    {"close.backwards", "Instances can be closed in the opposite order",
     "Keep instances independent of each other.", &closes_backwards},
    {"close.in-between", "Closing instances leaves those beside them open",
     "Keep instances independent of each other.", &closes_in_between},
    {"close.null-record", "It survives a close without a record",
     "Go by the call's handle; the record is of no use.", &survives_null_record},
    {"close.wrong-handle", "It survives a close with a wrong handle", kLookUpAdvice,
     &survives_wrong_handle},
    {"close.twice", "It survives a second close", kLookUpAdvice, &survives_second_close},
    {"close.call-afterwards", "It survives a call of a closed instance", kLookUpAdvice,
     &survives_call_after_close},
};

}  // namespace

std::span<const Check> close_checks() { return kChecks; }

}  // namespace qmtool
