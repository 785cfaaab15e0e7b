// qmtool date: what the kernel makes of the text of a date-time.
#include <qm/variant.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/value_types.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {"date", "Read a date-time as the kernel does",
                               "  qmtool date \"2024-02-29 13:05:09.5\"\n"
                               "  qmtool date XXXX-05-17                  some 17th of May\n"
                               "  qmtool date 2024-W09-4T13:05+01:00\n"
                               "Ends with 1 when the kernel reads no date-time in the text."};

struct Options {
  std::string text;
};

struct Reading {
  const char* how;
  qm::Variant value;  // holds a date-time, or what else the text turned out to be
  bool is_date_time = false;
};

// Conversion reads one layout, with places left open, and never fails.
Reading read_by_layout(qm::Kernel kernel, const std::string& text) {
  const auto date_time = qm::Variant::create(kernel, text).convert<qm::DateTime>();
  return {"by conversion", qm::Variant::create(kernel, date_time),
          date_time.has_date() || date_time.has_time()};
}

// Recognition reads more forms, but only whole texts.
Reading recognise(qm::Kernel kernel, const std::string& text) {
  qm::Variant value = qm::Variant::create(kernel, qm::Value::recognised(text));
  const bool is_date_time = value.type() == QM_TYPE_DATETIME;
  return {"by recognition", std::move(value), is_date_time};
}

template <class Number>
Json present(std::optional<Number> number) {
  return number ? Json(*number) : Json();
}

Json json_of(const Reading& reading) {
  Json json = {{"how", reading.how}, {"date_time", reading.is_date_time}};
  if (!reading.is_date_time) return json;
  const auto value = reading.value.convert<qm::DateTime>();
  json["text"] = text_of(reading.value);
  json["packed"] = hexadecimal(value.packed(), 16);
  json["century"] = present(value.century());
  json["year_of_century"] = present(value.year_of_century());
  json["month"] = present(value.month());
  json["day"] = present(value.day());
  json["microseconds_of_day"] = value.time() ? Json(value.time()->count()) : Json();
  json["milliseconds_since_1970"] = reading.value.convert<std::int64_t>();
  json["day_number"] = reading.value.convert<double>();
  return json;
}

std::string shown(const Json& value) {
  return value.is_string() ? std::string(value) : value.dump();
}

void print(const Reading& reading) {
  if (!reading.is_date_time) {
    const qm::VariantInfo info = reading.value.info();
    const std::string what =
        info.type == QM_TYPE_DATETIME ? "" : " (" + describe_type(info.type, info.size) + ")";
    print_line(std::string(reading.how) + ": no date-time" + what);
    return;
  }
  const Json json = json_of(reading);
  print_line(std::string(reading.how) + ": " + text_of(reading.value));
  for (const char* name : {"packed", "milliseconds_since_1970", "day_number"}) {
    print_line("  " + std::string(name) + " " + shown(json[name]));
  }
}

int run(const Options& options, Tool& tool) {
  const qm::Kernel kernel = tool.kernel();
  const Reading readings[] = {read_by_layout(kernel, options.text),
                              recognise(kernel, options.text)};
  Json list = Json::array();
  bool any = false;
  for (const Reading& reading : readings) {
    any = any || reading.is_date_time;
    if (tool.json) {
      list.push_back(json_of(reading));
    } else {
      print(reading);
    }
  }
  if (tool.json) print_json(list);
  return any ? kDone : kNegative;
}

}  // namespace

void add_date_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kText, options, &run).argument(options->text, {"text", "TEXT", "The text to read"});
}

}  // namespace qmtool
