// Who can have items and attributes, and where in their holder they are.
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

using VariantPositions = VariantTest;

TEST_F(VariantPositions, AreForItemsOfContainersOnly) {
  qm_variant* number = integer(1);
  for (const std::uint32_t code :
       {QM_CALL_VARIANTGETITEM, QM_CALL_VARIANTGETITEMDIRECT, QM_CALL_VARIANTTAKEITEM,
        QM_CALL_VARIANTTAKEITEMDIRECT, QM_CALL_VARIANTINSERTITEM, QM_CALL_VARIANTINSERTITEMDIRECT,
        QM_CALL_VARIANTDELETEITEM, QM_CALL_VARIANTCOUNTITEMS, QM_CALL_VARIANTITEMPOSITION}) {
    qm_variant_child record{number, QM_FIND_INDEX, 0, -1, nullptr, nullptr};
    EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(type)")));
  }
}

TEST_F(VariantPositions, AreForAttributesOfAnything) {
  for (qm_variant* holder :
       {empty(), integer(1), text("text"), array<std::int32_t>(65, {1, 2}), container()}) {
    qm_variant* attribute = integer(2);
    append_attribute(holder, attribute);
    EXPECT_EQ(attributes(holder), std::vector<qm_variant*>{attribute});
  }
}

TEST_F(VariantPositions, OfItemsAreFoundByAddress) {
  qm_variant* first = container();
  qm_variant* second = container();
  qm_variant* shared = integer(1, 12);
  append_item(first, integer(0));
  append_item(first, shared);
  append_item(first, shared);
  append_item(second, shared);
  for (const auto& [holder, position] : {std::pair(first, 1), {second, 0}}) {
    auto record = poisoned<qm_variant_child>();
    record.holder = holder;
    record.child = shared;
    const qm_variant_child before = record;
    ASSERT_EQ(kernel()(QM_CALL_VARIANTITEMPOSITION, &record), 1);
    EXPECT_EQ(record.id, 12);
    EXPECT_EQ(record.index, position);
    EXPECT_EQ(record.child, shared);
    EXPECT_EQ(record.flags, before.flags);
    EXPECT_EQ(references(shared), 4);
  }
  auto record = poisoned<qm_variant_child>();
  record.holder = nullptr;
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTITEMPOSITION, record, failure(22, "(parent)")));
  record.holder = second;
  record.child = nullptr;
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTITEMPOSITION, record, failure(22, "(item)")));
  record.child = first;
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTITEMPOSITION, record, failure(2)));
}

TEST_F(VariantPositions, OfAttributesAreFoundByAddress) {
  qm_variant* holder = integer(1);
  qm_variant* attribute = integer(2, 13);
  append_attribute(holder, integer(3));
  append_attribute(holder, attribute);
  auto record = poisoned<qm_variant_attribute_position>();
  record.holder = holder;
  record.attribute = attribute;
  ASSERT_EQ(kernel()(QM_CALL_VARIANTATTRIBUTEPOSITION, &record), 1);
  EXPECT_EQ(record.id, 13);
  EXPECT_EQ(record.index, 1);
  EXPECT_EQ(record.attribute, attribute);
  EXPECT_EQ(references(attribute), 2);

  constexpr std::uint32_t code = QM_CALL_VARIANTATTRIBUTEPOSITION;
  record = poisoned<qm_variant_attribute_position>();
  record.holder = nullptr;
  record.attribute = nullptr;
  EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(parent)")));
  record.holder = holder;
  EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(item)")));
  record.attribute = holder;
  EXPECT_TRUE(kernel().refuses(code, record, failure(2)));
}

TEST_F(VariantPositions, OfAttributesAreFoundWithoutTakingAReference) {
  qm_variant* holder = integer(1);
  qm_variant* attribute = integer(2, 14, QM_W("name"));
  append_attribute(holder, integer(3));
  append_attribute(holder, attribute);
  auto record = poisoned<qm_variant_child>();
  record = {holder, QM_FIND_NTH_OF_NAME, 0, 0, QM_W("name"), attribute};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTFINDATTRIBUTE, &record), 1);
  EXPECT_EQ(record.id, 14);
  EXPECT_EQ(record.index, 1);
  EXPECT_EQ(record.child, nullptr);
  EXPECT_EQ(references(attribute), 2);

  constexpr std::uint32_t code = QM_CALL_VARIANTFINDATTRIBUTE;
  record = {holder, QM_FIND_NTH_OF_NAME, 0, 0, QM_W("other"), attribute};
  EXPECT_TRUE(kernel().refuses(code, record, failure(2)));
  record = {holder, QM_FIND_INDEX, 0, -1, nullptr, attribute};
  EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(ix)")));
  record = {nullptr, QM_FIND_INDEX, 0, -1, nullptr, attribute};
  EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(parent)")));
}

}  // namespace
}  // namespace contract
