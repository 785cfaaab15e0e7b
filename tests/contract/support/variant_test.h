// The fixture of tests with variants: makes them, looks at them, and gives everything back at the
// end of the test.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/contract/support/module_test.h"

namespace contract {

// Functions that differ in nothing a caller can see.
using Codes = std::vector<std::uint32_t>;

class VariantTest : public ModuleTest {
 protected:
  void TearDown() override;

  // Creates what must be creatable. The test owns it until its end.
  qm_variant* make(std::int32_t type, std::int32_t size, std::int32_t nitems, const void* data,
                   std::int32_t id = 0, const qm_wchar* name = nullptr);
  template <class Value>
  qm_variant* scalar(std::int32_t type, Value value, std::int32_t id = 0,
                     const qm_wchar* name = nullptr) {
    return make(type, sizeof value, 1, &value, id, name);
  }
  template <class Value>
  qm_variant* array(std::int32_t type, const std::vector<Value>& values) {
    const auto count = static_cast<std::int32_t>(values.size());
    return make(type, sizeof(Value), count, count == 0 ? nullptr : values.data());
  }
  qm_variant* integer(std::int32_t value, std::int32_t id = 0, const qm_wchar* name = nullptr) {
    return scalar(QM_TYPE_SIGNED, value, id, name);
  }
  qm_variant* text(std::string_view bytes, std::int32_t id = 0, const qm_wchar* name = nullptr,
                   std::int32_t type = QM_TYPE_TEXT);
  qm_variant* wide_text(TextView units, std::int32_t type = QM_TYPE_WIDE_TEXT);
  qm_variant* container(std::int32_t id = 0, const qm_wchar* name = nullptr) {
    return make(QM_TYPE_CONTAINER, 0, 0, nullptr, id, name);
  }
  qm_variant* empty(std::int32_t id = 0, const qm_wchar* name = nullptr) {
    return make(QM_TYPE_EMPTY, 0, 0, nullptr, id, name);
  }

  // The test owns one reference more, or takes one over that it owned already.
  qm_variant* adopt(qm_variant* variant);
  // Gives a reference back now that the test owned until its end.
  void give_back(qm_variant* variant);

  void append_item(qm_variant* holder, qm_variant* item) {
    append(QM_CALL_VARIANTINSERTITEM, holder, item);
  }
  void append_attribute(qm_variant* holder, qm_variant* attribute) {
    append(QM_CALL_VARIANTINSERTATTRIBUTE, holder, attribute);
  }
  // The items or attributes in their order, without references; QM_CALL_VARIANTGETITEM or
  // QM_CALL_VARIANTGETATTRIBUTE.
  std::vector<qm_variant*> children(qm_variant* holder, std::uint32_t get) const;
  std::vector<qm_variant*> items(qm_variant* holder) const {
    return children(holder, QM_CALL_VARIANTGETITEM);
  }
  std::vector<qm_variant*> attributes(qm_variant* holder) const {
    return children(holder, QM_CALL_VARIANTGETATTRIBUTE);
  }

  qm_variant_info info(qm_variant* variant) const;
  Text name_of(qm_variant* variant) const;
  std::int64_t value_of(qm_variant* variant) const;
  Text text_value(qm_variant* variant) const;
  // The stored bytes.
  std::vector<unsigned char> bytes_of(qm_variant* variant) const;

  // The count that a dump of the variant's memory shows: its fourth field.
  static std::int32_t references(const qm_variant* variant);
  // Puts the count out of order; the test puts it right again before the variant is released.
  static void set_references(qm_variant* variant, std::int32_t count);

  // Installs a module and creates a reference to one of its objects: codes[0] takes, codes[1] gives
  // back. An empty name is the kernel.
  qm_variant* object(std::uint32_t value, const qm_wchar* module);
  static constexpr std::uint32_t kTake = 0x1234000A;
  static constexpr std::uint32_t kGiveBack = 0x1234000B;
  static constexpr std::uint32_t kThird = 0x1234000C;
  static constexpr std::uint32_t kFourth = 0x1234000D;

 private:
  void append(std::uint32_t code, qm_variant* holder, qm_variant* child);

  std::vector<qm_variant*> owned_;
};

}  // namespace contract
