// qmtool errors: the texts of error codes.
#include <algorithm>
#include <map>

#include <qm/error_state.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/properties.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {"errors", "Tell what error codes mean",
                               "  qmtool errors            the kernel's codes and the store's\n"
                               "  qmtool errors 22\n"
                               "  qmtool errors 0x1000\n"
                               "  qmtool errors NOT_FOUND"};

struct Options {
  std::string code;
};

struct KnownError {
  std::int32_t code;
  const char* name;
  const char* meaning;
};
// 0x1002 has two names.
constexpr KnownError kKnown[] = {
    {QM_ERROR_NOT_FOUND, "NOT_FOUND", "unknown, empty or closed"},
    {QM_ERROR_NO_MEMORY, "NO_MEMORY", "exhausted memory"},
    {QM_ERROR_DAMAGED, "DAMAGED", "damaged or missing bookkeeping"},
    {QM_ERROR_BUSY, "BUSY", "another thread did not finish in time"},
    {QM_ERROR_ARGUMENT, "ARGUMENT", "bad argument or unknown code"},
    {QM_ERROR_RANGE, "RANGE", "out of range"},
    {QM_ERROR_LOAD, "LOAD", "a library cannot be loaded"},
    {QM_ERROR_VERSION_READ, "VERSION_READ", "a version resource cannot be read"},
    {QM_ERROR_SHORT_READ, "SHORT_READ", "a file ended early"},
    {QM_ERROR_VERSION_FORMAT, "VERSION_FORMAT", "a version resource lacks a table"},
    {QM_ERROR_MODULE_NOT_OPEN, "MODULE_NOT_OPEN", "a module that is not open"},
};

constexpr const char* kNode = "/default/error";

struct Row {
  std::int32_t code;
  std::string name;
  std::string meaning;
  std::string text;  // what the kernel puts into messages
};

// The text that the kernel puts in front of a message without words of its own.
std::string text_of(qm::Kernel kernel, std::int32_t code) {
  const qm::ErrorStateGuard guard(kernel);
  kernel.set_error(code, "");
  std::string text(kernel.error().text());
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

void append_known(std::int32_t code, qm::Kernel kernel, std::vector<Row>& rows) {
  for (const KnownError& known : kKnown) {
    if (known.code == code) {
      rows.push_back(
          {code, std::string("QM_ERROR_") + known.name, known.meaning, text_of(kernel, code)});
    }
  }
}

std::vector<Row> rows_of(std::int32_t code, qm::Kernel kernel) {
  std::vector<Row> rows;
  append_known(code, kernel, rows);
  if (rows.empty()) rows.push_back({code, "", "", text_of(kernel, code)});
  return rows;
}

// The codes with a name, and those for which the store has a text.
std::vector<Row> all_rows(qm::Kernel kernel) {
  std::vector<std::int32_t> codes;
  for (const KnownError& known : kKnown) codes.push_back(known.code);
  for (const std::string& name : list_property(kernel, kNode).value_or({})) {
    const std::string digits = name.starts_with('x') ? name.substr(1) : name;
    const auto code = parse_number(digits.starts_with("0x") ? digits : "0x" + digits);
    if (code) codes.push_back(static_cast<std::int32_t>(*code));
  }
  std::ranges::sort(codes);
  codes.erase(std::ranges::unique(codes).begin(), codes.end());
  std::vector<Row> rows;
  for (const std::int32_t code : codes) {
    for (Row& row : rows_of(code, kernel)) rows.push_back(std::move(row));
  }
  return rows;
}

std::int32_t code_of(std::string text) {
  if (const auto number = parse_number(text)) return static_cast<std::int32_t>(*number);
  if (text.starts_with("QM_ERROR_")) text.erase(0, 9);
  const auto known =
      std::ranges::find_if(kKnown, [&](const KnownError& row) { return row.name == text; });
  if (known == std::end(kKnown)) throw UsageError("'" + text + "' is no error code");
  return known->code;
}

int run(const Options& options, Tool& tool) {
  const qm::Kernel kernel = tool.kernel();
  const std::vector<Row> rows =
      options.code.empty() ? all_rows(kernel) : rows_of(code_of(options.code), kernel);
  Json list = Json::array();
  Table table({"CODE", "", "NAME", "MEANING", "TEXT"});
  for (const Row& row : rows) {
    list.push_back(
        {{"code", row.code}, {"name", row.name}, {"meaning", row.meaning}, {"text", row.text}});
    table.add({std::to_string(row.code), hexadecimal(static_cast<std::uint32_t>(row.code)),
               row.name, row.meaning, row.text});
  }
  if (tool.json) {
    print_json(list);
  } else {
    table.print();
  }
  return kDone;
}

}  // namespace

void add_errors_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kText, options, &run)
      .optional_argument(options->code, {"code", "CODE", "Number or name of an error"});
}

}  // namespace qmtool
