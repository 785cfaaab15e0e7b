// Checks that nothing is left behind: tracked blocks, handles, pushed errors.
#include <algorithm>
#include <charconv>
#include <string>

#include <qm/buffer.hpp>

#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/validate/check.h"
#include "toolkit/qmtool/validate/subject.h"

namespace qmtool {
namespace {

std::string describe(const qm::Block& block) {
  std::string text = std::to_string(block.capacity) + " bytes";
  if (!block.file.empty()) text += " of " + block.file + ":" + std::to_string(block.line);
  return text;
}

void expect_no_new_blocks(qm::Kernel kernel, std::size_t before) {
  const auto blocks = qm::live_blocks(kernel);
  if (blocks.size() <= before) return;
  throw CheckFailure(counted(blocks.size() - before, "tracked block is", "tracked blocks are") +
                     " left, the last one " + describe(blocks.back()));
}

void frees_instances(Subject& module) {
  const auto first = module.open();  // what a module takes once and for all is not counted
  const std::size_t before = qm::live_blocks(module.kernel()).size();
  for (int i = 0; i < 100; ++i) module.open().close();
  expect_no_new_blocks(module.kernel(), before);
}

void frees_after_refusals(Subject& module) {
  const auto handle = module.open();
  const std::size_t before = qm::live_blocks(module.kernel()).size();
  for (int i = 0; i < 100; ++i) {
    module.kernel().call_raw(handle.get(), kUnknownCode + static_cast<std::uint32_t>(i));
  }
  expect_no_new_blocks(module.kernel(), before);
}

void frees_at_unload(Subject& module) {
  if (module.target().name.starts_with("qm")) {
    throw CheckSkipped("modules whose names begin with qm stay loaded");
  }
  const std::size_t before = qm::live_blocks(module.kernel()).size();
  module.open().close();
  expect_no_new_blocks(module.kernel(), before);
}

void keeps_blocks_sound(Subject& module) {
  for (int i = 0; i < 20; ++i) module.open().try_call(kUnknownCode).value_or(0);
  const auto sound = qm::try_check_blocks(module.kernel());
  if (!sound) throw CheckFailure(qmtool::describe(sound.error()));
}

// As the refusal of an unknown handle tells.
int live_handles(qm::Kernel kernel) {
  const std::string text(kernel.try_call_at(kWrongHandle, kUnknownCode).error().text());
  const std::size_t at = text.rfind("nhs: ");
  int count = -1;
  if (at != std::string::npos) std::from_chars(&text[at + 5], text.data() + text.size(), count);
  return count;
}

void closes_what_it_opens(Subject& module) {
  module.open().close();
  const int before = live_handles(module.kernel());
  for (int i = 0; i < 10; ++i) module.open().close();
  const int after = live_handles(module.kernel());
  expect(after <= before, std::to_string(after - before) + " handles are left open");
}

void pops_what_it_pushes(Subject& module) {
  const auto handle = module.open();
  for (int i = 0; i < 3; ++i) module.kernel().call_raw(handle.get(), kUnknownCode);
  expect(module.kernel().call_raw(0, QM_CALL_POPERROR) == 0, "an error is left on the stack");
}

constexpr const char* kBlockAdvice =
    "Give every tracked block back with QM_CALL_REALLOC and size 0, also behind a failure.";

constexpr Check kChecks[] = {
    {"memory.instances", "Closed instances leave no tracked blocks", kBlockAdvice,
     &frees_instances},
    {"memory.refusals", "Refused calls leave no tracked blocks", kBlockAdvice,
     &frees_after_refusals},
    {"memory.unload", "Nothing is left when the module is unloaded", kBlockAdvice,
     &frees_at_unload},
    {"memory.sound", "It writes nowhere but into its own memory",
     "Look for writes in front of or behind the block that is named.", &keeps_blocks_sound},
    {"memory.handles", "It closes the modules that it opens",
     "Close in an instance's close what its open opened.", &closes_what_it_opens},
    {"memory.error-stack", "It pops the errors that it pushes",
     "Pair each QM_CALL_PUSHERROR with a QM_CALL_POPERROR on every way out.", &pops_what_it_pushes},
};

}  // namespace

std::span<const Check> memory_checks() { return kChecks; }

}  // namespace qmtool
