// qmtool convert: what the kernel makes of a text, and of that as another type.
#include <algorithm>
#include <cstring>

#include <qm/variant.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/text.h"
#include "toolkit/qmtool/value_types.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {
    "convert", "Convert a value as the kernel does",
    "  qmtool convert 300 --to u8           44: low bytes are kept\n"
    "  qmtool convert 2024-02-29 --to f64   a day number\n"
    "  qmtool convert 0.1 --to binary       its bytes\n"
    "  qmtool convert 042 --text --to i32   text, not the number that it looks like\n"
    "  qmtool convert --to u16 -- -1"};

struct Options {
  std::string value;
  std::string to;
  bool as_text = false;
};

struct Converted {
  std::int32_t size;  // as the kernel tells
  std::string bytes;
};

Converted convert(const qm::Variant& source, const ValueType& to) {
  std::string room(std::max<std::size_t>(4 * static_cast<std::size_t>(source.info().size), 256), 0);
  const auto capacity = static_cast<std::int32_t>(room.size());
  qm_variant_convert record{source.get(), 0,       to.type, to.size != 0 ? to.size : capacity, 1,
                            room.data(),  capacity};
  source.kernel().call(QM_CALL_VARIANTCONVERT, &record);
  const bool is_wide = to.type == QM_TYPE_WIDE_TEXT;
  room.resize(static_cast<std::size_t>(record.size) * (is_wide ? sizeof(qm_wchar) : 1));
  return {record.size, std::move(room)};
}

std::string hexadecimal_bytes(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    text += (text.empty() ? "" : " ") + hexadecimal(static_cast<unsigned char>(byte), 2).substr(2);
  }
  return text;
}

// Plain C++ data of the converted bytes, back through the kernel as text.
std::string show(qm::Kernel kernel, const ValueType& to, const Converted& value) {
  const std::size_t terminator = to.type == QM_TYPE_WIDE_TEXT ? sizeof(qm_wchar) : 1;
  const std::string_view bytes = value.bytes;
  switch (to.type) {
    case QM_TYPE_BINARY:
      return hexadecimal_bytes(bytes);
    case QM_TYPE_TEXT_UTF8:
      return std::string(bytes.substr(0, bytes.size() - terminator));
    default:
      return text_of(qm::Variant::create(
          kernel, qm::Value::raw(to.type, static_cast<std::size_t>(value.size), 1, bytes.data())));
  }
}

const ValueType& type_named(const std::string& name) {
  return *std::ranges::find_if(value_types(),
                               [&](const ValueType& type) { return type.name == name; });
}

int run(const Options& options, Tool& tool) {
  const qm::Kernel kernel = tool.kernel();
  const qm::Variant source = qm::Variant::create(
      kernel, options.as_text ? qm::Value(options.value) : qm::Value::recognised(options.value));
  const qm::VariantInfo info = source.info();
  const ValueType& to = type_named(options.to);
  const Converted converted = convert(source, to);
  const std::string text = show(kernel, to, converted);
  if (tool.json) {
    print_json({{"from", {{"type", info.type}, {"size", info.size}, {"text", text_of(source)}}},
                {"to", {{"type", to.type}, {"size", converted.size}, {"text", text}}}});
  } else {
    print_line("from  " + text_of(source) + "  (" + describe_type(info.type, info.size) + ")");
    print_line("to    " + text + "  (" + describe_type(to.type, converted.size) + ")");
  }
  return kDone;
}

}  // namespace

void add_convert_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  std::vector<std::string> names;
  for (const ValueType& type : value_types()) names.emplace_back(type.name);
  commands.add(kText, options, &run)
      .argument(options->value, {"value", "VALUE", "A number, a date-time or any text"})
      .choice(options->to, {"--to", "TYPE", "Type to convert to"}, names)
      .flag(options->as_text, "--text", "Take the value as text, whatever it looks like");
}

}  // namespace qmtool
