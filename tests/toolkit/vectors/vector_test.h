// One vector as a test: its surroundings, a kernel of its own, its steps in order.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "tests/contract/support/kernel_test.h"
#include "tests/toolkit/vectors/record.h"

namespace vectors {

class VectorTest : public contract::KernelTest {
 public:
  // Both must outlive the test.
  VectorTest(const Tables& tables, const Json& vector) : tables_(tables), vector_(vector) {}

  static bool is_for_this_system(const Json& vector);

 protected:
  void SetUp() override;
  void TestBody() override;

 private:
  void run_step(const std::string& call, const Json& step);
  std::unique_ptr<Record> make_record(const std::string& call, const Json& written,
                                      Memory& memory) const;
  std::uint64_t field_value(const Field& field, const Json* written, Memory& memory) const;
  void expect_result(const Json& step, std::int32_t result, const contract::Error& found) const;
  void expect_error_state(const Json& step, const contract::Error& found) const;
  void expect_record(const Json& step, const Record& record, const Record& before) const;
  void expect_field(const Field& field, const Record& record, const Json& expected) const;
  void expect_data(const void* found, const Json& expected) const;
  void keep(const Json& step, const Record& record);

  bool plants() const { return vector_.value("plants", true); }
  // A number, or a kept value: "$name".
  std::uint64_t value(const Json& written) const;
  // The detail with kept values in place: {block} as a pointer, {handle:08x} in hexadecimal.
  std::string filled(const std::string& detail) const;

  const Tables& tables_;
  const Json& vector_;
  std::map<std::string, std::uint64_t> kept_;
};

}  // namespace vectors
