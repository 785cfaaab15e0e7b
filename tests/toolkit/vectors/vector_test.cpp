#include "tests/toolkit/vectors/vector_test.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <regex>

namespace vectors {
namespace {

bool is_reference(const Json& written) {
  return written.is_string() && written.get<std::string>().starts_with('$');
}

std::vector<std::string> calls_of(const Json& step) {
  const Json& call = step.at("call");
  if (call.is_array()) return call;
  return {call};
}

}  // namespace

bool VectorTest::is_for_this_system(const Json& vector) {
#ifdef _WIN32
  constexpr const char* kOther = "linux";
#else
  constexpr const char* kOther = "windows";
#endif
  return vector.value("only", "") != kOther;
}

void VectorTest::SetUp() {
  const Json files = vector_.value("files", Json::object());
  for (const auto& [name, contents] : files.items()) {
    std::ofstream(folder().file(name), std::ios::binary) << contents.get<std::string>();
  }
  const Json modules = vector_.value("modules", Json::array());
  for (const std::string module : modules) folder().install(module, module);
  load_kernel();
}

void VectorTest::TestBody() {
  int number = 0;
  for (const Json& step : vector_.at("steps")) {
    ++number;
    for (const std::string& call : calls_of(step)) {
      SCOPED_TRACE("step " + std::to_string(number) + ": " + call);
      run_step(call, step);
    }
  }
}

void VectorTest::run_step(const std::string& call, const Json& step) {
  Memory memory(tables_);
  const Json written = step.value("record", Json());
  const std::unique_ptr<Record> record = make_record(call, written, memory);
  void* params = nullptr;
  if (record) {
    params = record->data();
  } else if (is_reference(written)) {
    params = reinterpret_cast<void*>(static_cast<std::uintptr_t>(value(written)));
  }
  const std::unique_ptr<Record> before = record ? std::make_unique<Record>(*record) : nullptr;
  if (plants()) kernel().plant_error();
  const auto handle = static_cast<std::uint32_t>(value(step.value("through", Json(0))));
  const std::int32_t result = kernel().through(handle, tables_.code_of(call), params);
  const contract::Error found = kernel().error();
  expect_result(step, result, found);
  expect_error_state(step, found);
  if (record) {
    expect_record(step, *record, *before);
    keep(step, *record);
  }
  EXPECT_TRUE(memory.guards_hold()) << "written behind a buffer";
}

// ---- Before the call ---------------------------------------------------------------------------

std::unique_ptr<Record> VectorTest::make_record(const std::string& call, const Json& written,
                                                Memory& memory) const {
  if (!written.is_object()) return nullptr;
  const Layout* layout = tables_.layout_of(call);
  if (!layout) throw std::runtime_error(call + " takes no record of fields");
  auto record = std::make_unique<Record>(*layout);
  for (const auto& [name, ignored] : written.items()) record->field(name);  // does it exist?
  for (const Field& field : layout->fields) {
    const auto given = written.find(field.name);
    record->set(field,
                field_value(field, given == written.end() ? nullptr : &given.value(), memory));
  }
  return record;
}

std::uint64_t VectorTest::field_value(const Field& field, const Json* written,
                                      Memory& memory) const {
  if (!written) return field.direction == "out" ? Record::cut(field, kPoison) : 0;
  if (*written == "poison") return Record::cut(field, kPoison);
  if (is_reference(*written)) return value(*written);
  if (field.is_number()) return Record::cut(field, tables_.number(*written));
  void* place = memory.place(written->is_string() ? Json{{field.kind, *written}} : *written);
  return reinterpret_cast<std::uintptr_t>(place);
}

std::uint64_t VectorTest::value(const Json& written) const {
  if (is_reference(written)) return kept_.at(written.get<std::string>().substr(1));
  return tables_.number(written);
}

// ---- After the call ----------------------------------------------------------------------------

void VectorTest::expect_result(const Json& step, std::int32_t result,
                               const contract::Error& found) const {
  const std::int32_t expected = step.value("result", step.contains("error") ? 0 : 1);
  EXPECT_EQ(result, expected) << "error state: " << testing::PrintToString(found);
}

void VectorTest::expect_error_state(const Json& step, const contract::Error& found) const {
  if (step.contains("error")) {
    const Json& error = step["error"];
    const std::int32_t code = error.at(0);
    EXPECT_EQ(found.code, code);
    if (error.size() == 1) return;
    contract::Failure failure{code, std::nullopt};
    if (!error.at(1).is_null()) failure.detail = widened(filled(error.at(1)));
    EXPECT_EQ(found, (contract::Error{code, failure.message()}));
  } else if (step.contains("leaves")) {
    const Json& left = step["leaves"];
    EXPECT_EQ(found, (contract::Error{left.at(0), widened(left.at(1))}));
  } else if (plants()) {
    EXPECT_EQ(found, kernel().plant_error()) << "the error state was changed";
  }
}

std::string VectorTest::filled(const std::string& detail) const {
  const std::regex place(R"(\{(\w+)(:08x)?\})");
  std::smatch found;
  if (!std::regex_search(detail, found, place)) return detail;
  const std::uint64_t kept = kept_.at(found[1]);
  char shown[32];
  if (found[2].matched) {
    std::snprintf(shown, sizeof shown, "%08x", static_cast<unsigned>(kept));
  } else {
    const auto* pointer = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(kept));
    std::snprintf(shown, sizeof shown, "%s", contract::pointer_digits(pointer).c_str());
  }
  return found.prefix().str() + shown + filled(found.suffix());
}

void VectorTest::expect_record(const Json& step, const Record& record, const Record& before) const {
  const Json out = step.value("out", Json::object());
  for (const Field& field : record.fields()) {
    SCOPED_TRACE(field.name);
    if (out.contains(field.name)) {
      expect_field(field, record, out[field.name]);
    } else if (field.direction == "in" || step.contains("error")) {
      EXPECT_EQ(record.get(field), before.get(field)) << "the field was changed";
    }
  }
}

void VectorTest::expect_field(const Field& field, const Record& record,
                              const Json& expected) const {
  if (expected == "poison") {
    EXPECT_EQ(record.get(field), Record::cut(field, kPoison));
  } else if (expected.is_object() && expected.contains("not")) {
    EXPECT_NE(record.get(field), 0u);
  } else if (expected.is_object()) {
    ASSERT_NE(record.get(field), 0u);
    expect_data(record.pointer(field), expected);
  } else {
    const std::uint64_t wanted = expected.is_null() ? 0 : value(expected);
    EXPECT_EQ(record.get(field), Record::cut(field, wanted));
  }
}

void VectorTest::expect_data(const void* found, const Json& expected) const {
  const Bytes wanted = bytes_of(tables_, expected);
  Bytes bytes(wanted.size());
  std::memcpy(bytes.data(), found, bytes.size());
  EXPECT_EQ(bytes, wanted) << expected;
}

// "field", or for what an array of pointers leads to "field[0]".
void VectorTest::keep(const Json& step, const Record& record) {
  const Json names = step.value("keep", Json::object());
  for (const auto& [name, from] : names.items()) {
    const std::string field = from;
    if (!field.ends_with("[0]")) {
      kept_[name] = record.get(record.field(field));
      continue;
    }
    std::uintptr_t first = 0;
    const Field& array = record.field(field.substr(0, field.size() - 3));
    std::memcpy(&first, record.pointer(array), sizeof first);
    kept_[name] = first;
  }
}

}  // namespace vectors
