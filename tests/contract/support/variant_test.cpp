#include "tests/contract/support/variant_test.h"

#include <algorithm>

namespace contract {

void VariantTest::TearDown() {
  while (!owned_.empty()) give_back(owned_.back());
  ModuleTest::TearDown();
}

qm_variant* VariantTest::adopt(qm_variant* variant) {
  owned_.push_back(variant);
  return variant;
}

void VariantTest::give_back(qm_variant* variant) {
  const auto last = std::find(owned_.rbegin(), owned_.rend(), variant);
  ASSERT_NE(last, owned_.rend()) << "the test does not own this variant";
  owned_.erase(std::next(last).base());
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, variant), 1);
}

qm_variant* VariantTest::make(std::int32_t type, std::int32_t size, std::int32_t nitems,
                              const void* data, std::int32_t id, const qm_wchar* name) {
  qm_variant_create record{nullptr, id, name, type, size, nitems, data};
  const bool made = kernel()(QM_CALL_VARIANTCREATE, &record) == 1;
  EXPECT_TRUE(made) << "type " << type << ": " << testing::PrintToString(kernel().error());
  return made ? adopt(record.variant) : nullptr;
}

qm_variant* VariantTest::text(std::string_view bytes, std::int32_t id, const qm_wchar* name,
                              std::int32_t type) {
  const std::string stored(bytes);
  return make(type, static_cast<std::int32_t>(stored.size() + 1), 1, stored.c_str(), id, name);
}

qm_variant* VariantTest::wide_text(TextView units, std::int32_t type) {
  const Text stored(units);
  return make(type, static_cast<std::int32_t>(stored.size() + 1), 1, stored.c_str());
}

void VariantTest::append(std::uint32_t code, qm_variant* holder, qm_variant* child) {
  qm_variant_child record{holder, QM_FIND_LAST, 0, 0, nullptr, child};
  EXPECT_EQ(kernel()(code, &record), 1) << testing::PrintToString(kernel().error());
}

std::vector<qm_variant*> VariantTest::children(qm_variant* holder, std::uint32_t get) const {
  std::vector<qm_variant*> all;
  for (std::int32_t at = 0;; ++at) {
    qm_variant_child record{holder, QM_FIND_INDEX, 0, at, nullptr, nullptr};
    if (kernel()(get, &record) != 1) return all;
    kernel()(QM_CALL_VARIANTRELEASE, record.child);
    all.push_back(record.child);
  }
}

qm_variant_info VariantTest::info(qm_variant* variant) const {
  auto record = poisoned<qm_variant_info>();
  record.variant = variant;
  EXPECT_EQ(kernel()(QM_CALL_VARIANTINFO, &record), 1);
  EXPECT_EQ(record.variant, variant);
  return record;
}

Text VariantTest::name_of(qm_variant* variant) const {
  qm_wchar name[256];
  qm_variant_info_name record{variant, 0, name, 256, 0, 0, 0, 0};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTINFONAME, &record), 1);
  return name;
}

std::int64_t VariantTest::value_of(qm_variant* variant) const {
  std::int64_t value = 0;
  qm_variant_convert record{variant, 0, QM_TYPE_SIGNED, sizeof value, 1, &value, sizeof value};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
  return value;
}

Text VariantTest::text_value(qm_variant* variant) const {
  qm_wchar text[512] = {};
  qm_variant_convert record{variant, 0, QM_TYPE_WIDE_TEXT, sizeof text, 1, text, sizeof text};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1)
      << testing::PrintToString(kernel().error());
  return text;
}

std::vector<unsigned char> VariantTest::bytes_of(qm_variant* variant) const {
  std::vector<unsigned char> bytes(1024);
  const auto room = static_cast<std::int32_t>(bytes.size());
  qm_variant_convert record{variant, 0, QM_TYPE_BINARY, room, 1, bytes.data(), room};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1)
      << testing::PrintToString(kernel().error());
  bytes.resize(static_cast<std::size_t>(record.size));
  return bytes;
}

std::int32_t VariantTest::references(const qm_variant* variant) {
  std::int32_t fields[4];
  std::memcpy(fields, static_cast<const void*>(variant), sizeof fields);
  return fields[3];
}

void VariantTest::set_references(qm_variant* variant, std::int32_t count) {
  std::memcpy(reinterpret_cast<unsigned char*>(variant) + 12, &count, sizeof count);
}

qm_variant* VariantTest::object(std::uint32_t value, const qm_wchar* module) {
  const qm_object_data data{value, module, {kTake, kGiveBack, kThird, kFourth}};
  return make(QM_TYPE_OBJECT, 4, 1, &data, 0, QM_W("object"));
}

}  // namespace contract
