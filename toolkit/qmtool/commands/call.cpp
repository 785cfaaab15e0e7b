// qmtool call: one raw call with a record made of typed fields.
#include <algorithm>
#include <optional>

#include <qm/module_handle.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/function_names.h"
#include "toolkit/qmtool/inspect/target.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/record.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {
    "call", "Make one raw call",
    "  qmtool call kernel NOP\n"
    "  qmtool call kernel GETERRORW out wbuf:256 i32:256\n"
    "  qmtool call exgreeter 0x12010000 w:World wout\n"
    "  qmtool call 0xffff1100 0x11000000 w:/default wbuf:256 i32:256   a group\n"
    "A module is opened for the call and closed after it. Ends with 1 when the call returns 0.\n"
    "\n"
    "Fields of the record, in order:\n"
    "  u32:N i32:N   a number, decimal or with 0x\n"
    "  f64:N         a floating-point number of 8 bytes\n"
    "  w:TEXT        pointer to a wide text; a:TEXT to a narrow one\n"
    "  null          a null pointer, or one that the call writes\n"
    "  out           a number that the call writes\n"
    "  buf:BYTES     pointer to a buffer of so many zero bytes\n"
    "  wbuf:LENGTH   pointer to a buffer for wide text; abuf:LENGTH for narrow text\n"
    "  wout          a wide text that the call hands out as a tracked block; it is given back\n"
    "  aout          the same in narrow text"};

struct Options {
  std::string module;
  std::string group;
  std::string code;
  std::vector<std::string> fields;
};

struct Outcome {
  std::int32_t result;
  qm::Error error;  // code 0 when the call left none
  std::vector<Record::Value> fields;
};

std::uint32_t code_of(const std::string& text) {
  if (const auto number = parse_number(text)) return static_cast<std::uint32_t>(*number);
  const auto code = function_code(text);
  if (!code) throw UsageError("'" + text + "' is no function code");
  return *code;
}

// The kernel is handle 0; a number is a handle of its own, such as that of a group.
std::optional<std::uint32_t> handle_of(const std::string& module) {
  if (module == "kernel") return 0;
  const auto number = parse_number(module);
  if (!number) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

Outcome call(qm::Kernel kernel, std::uint32_t handle, const Options& options) {
  Record record(options.fields);
  const std::int32_t result = kernel.call_raw(handle, code_of(options.code), record.data());
  qm::Error error = kernel.error();
  return {result, std::move(error), record.read(kernel)};
}

Outcome call_module(qm::Kernel kernel, const Options& options) {
  if (const auto handle = handle_of(options.module)) return call(kernel, *handle, options);
  const std::optional<qm::Text> group =
      options.group.empty() ? std::nullopt : std::optional<qm::Text>(options.group);
  const auto module = qm::ModuleHandle::open(kernel, target_of(options.module).name, group);
  kernel.set_error(qm::Error(0, ""));
  return call(kernel, module.get(), options);
}

void print(const Outcome& outcome) {
  print_line("result  " + std::to_string(outcome.result));
  if (outcome.result == 0 && outcome.error.code() != 0) {
    print_line("error   " + std::to_string(outcome.error.code()) + ": " +
               std::string(outcome.error.text()));
  }
  Table table({"FIELD", "AFTER THE CALL"});
  for (const Record::Value& field : outcome.fields) table.add({field.field, field.text});
  if (!table.empty()) table.print();
}

Json json_of(const Outcome& outcome) {
  Json json = {{"result", outcome.result}, {"fields", Json::array()}};
  if (outcome.result == 0 && outcome.error.code() != 0) {
    json["error"] = {{"code", outcome.error.code()}, {"message", outcome.error.text()}};
  }
  for (const Record::Value& field : outcome.fields) {
    json["fields"].push_back({{"field", field.field}, {"after", field.text}});
  }
  return json;
}

int run(const Options& options, Tool& tool) {
  const Outcome outcome = call_module(tool.kernel(), options);
  if (tool.json) {
    print_json(json_of(outcome));
  } else {
    print(outcome);
  }
  return outcome.result != 0 ? kDone : kNegative;
}

}  // namespace

void add_call_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kText, options, &run)
      .argument(options->module, {"module", "MODULE", "Module, \"kernel\", or a handle"})
      .argument(options->code, {"code", "CODE", "Function code, or a kernel code's name"})
      .arguments(options->fields, {"fields", "FIELD", "Fields of the record"})
      .option(options->group, {"--group", "NAME", "Property group to open the module with"});
}

}  // namespace qmtool
