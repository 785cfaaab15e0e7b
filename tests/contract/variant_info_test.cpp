// The information calls.
#include <climits>

#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantInformation : public VariantTest {
 protected:
  template <std::size_t Length>
  qm_variant_info_name named_info(qm_variant* variant, std::array<qm_wchar, Length>& buffer,
                                  std::int32_t length) {
    auto record = poisoned<qm_variant_info_name>();
    record.variant = variant;
    record.name = buffer.data();
    record.length = length;
    EXPECT_EQ(kernel()(QM_CALL_VARIANTINFONAME, &record), 1);
    EXPECT_EQ(record.variant, variant);
    EXPECT_EQ(record.name, buffer.data());
    EXPECT_EQ(record.length, length);
    return record;
  }
};

TEST_F(VariantInformation, CountsItemsAndAttributes) {
  qm_variant* holder = container(77, QM_W("holder"));
  for (int item = 0; item < 3; ++item) append_item(holder, integer(item));
  append_attribute(holder, integer(9));
  append_attribute(holder, integer(10));
  const qm_variant_info found = info(holder);
  EXPECT_EQ(found.id, 77);
  EXPECT_EQ(found.type, QM_TYPE_CONTAINER);
  EXPECT_EQ(found.size, 3);
  EXPECT_EQ(found.nitems, 3);
  EXPECT_EQ(found.nattributes, 2);
}

TEST_F(VariantInformation, CountsAttributesOfAnything) {
  qm_variant* number = integer(1);
  append_attribute(number, integer(2));
  EXPECT_EQ(info(number).nitems, 1);
  EXPECT_EQ(info(number).nattributes, 1);
}

TEST_F(VariantInformation, TellsThatThereIsNoVariant) {
  const qm_variant_info found = info(nullptr);
  EXPECT_EQ(found.id, -1);
  EXPECT_EQ(found.type, 0);
  EXPECT_EQ(found.size, 0);
  EXPECT_EQ(found.nitems, 0);
  EXPECT_EQ(found.nattributes, 0);

  auto buffer = poisoned<std::array<qm_wchar, 4>>();
  const qm_variant_info_name named = named_info(nullptr, buffer, 4);
  EXPECT_EQ(named.id, -1);
  EXPECT_EQ(named.type, 0);
  EXPECT_EQ(named.size, 0);
  EXPECT_EQ(named.nitems, 0);
  EXPECT_EQ(named.nattributes, 0);
  EXPECT_EQ(buffer[0], 0);
}

TEST_F(VariantInformation, CutsTheNameToTheBuffer) {
  qm_variant* variant = scalar<std::int16_t>(QM_TYPE_SIGNED, 1, 5, QM_W("name"));
  append_attribute(variant, integer(1));
  struct {
    std::int32_t length;
    const qm_wchar* name;
  } const cuts[] = {
      {1, QM_W("")}, {2, QM_W("n")}, {4, QM_W("nam")}, {5, QM_W("name")}, {7, QM_W("name")}};
  for (const auto& cut : cuts) {
    SCOPED_TRACE(cut.length);
    auto buffer = poisoned<std::array<qm_wchar, 8>>();
    const qm_variant_info_name found = named_info(variant, buffer, cut.length);
    EXPECT_EQ(found.id, 5);
    EXPECT_EQ(found.type, QM_TYPE_SIGNED);
    EXPECT_EQ(found.size, 2);
    EXPECT_EQ(found.nitems, 1);
    EXPECT_EQ(found.nattributes, 1);
    const auto length = static_cast<std::size_t>(cut.length);
    EXPECT_EQ(Text(buffer.data()), cut.name);
    EXPECT_EQ(buffer[length - 1], 0);
    for (std::size_t at = length; at < buffer.size(); ++at) EXPECT_TRUE(is_poison(buffer[at]));
  }
}

TEST_F(VariantInformation, GivesUnnamedVariantsAnEmptyName) {
  qm_variant* variant = integer(1);
  auto buffer = poisoned<std::array<qm_wchar, 3>>();
  named_info(variant, buffer, 3);
  EXPECT_EQ(buffer[0], 0);
  EXPECT_EQ(buffer[2], 0);
}

TEST_F(VariantInformation, KeepsUnpairedSurrogatesOfNames) {
  const qm_wchar name[] = {0xD83D, 0xDE00, 0xDC00, 'x', 0};
  EXPECT_EQ(name_of(integer(1, 0, name)), Text(name));
}

TEST_F(VariantInformation, NeedsNoNameBuffer) {
  qm_variant* variant = integer(1, 6, QM_W("name"));
  for (const std::int32_t length : {0, -1, INT_MIN}) {
    qm_variant_info_name record{variant, 0, nullptr, length, 0, 0, 0, 0};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTINFONAME, &record), 1);
    EXPECT_EQ(record.id, 6);
    EXPECT_EQ(record.name, nullptr);
  }
}

TEST_F(VariantInformation, RefusesABufferWithoutLengthAndALengthWithoutBuffer) {
  qm_wchar buffer[4];
  for (qm_variant* variant : {integer(1), static_cast<qm_variant*>(nullptr)}) {
    for (const std::int32_t length : {0, -1, INT_MIN}) {
      auto record = poisoned<qm_variant_info_name>();
      record.variant = variant;
      record.name = buffer;
      record.length = length;
      EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTINFONAME, record, failure(22, "(namebuff)")));
    }
    auto record = poisoned<qm_variant_info_name>();
    record.variant = variant;
    record.name = nullptr;
    record.length = 1;
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTINFONAME, record, failure(22, "(namebuff)")));
  }
}

}  // namespace
}  // namespace contract
