// New values for old variants: in place, or in the place of one that is released.
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

const Codes kAssign = {QM_CALL_VARIANTASSIGN, QM_CALL_VARIANTASSIGNDIRECT};
const Codes kAssignValue = {QM_CALL_VARIANTASSIGNVALUE, QM_CALL_VARIANTASSIGNVALUEDIRECT};
const Codes kRecreate = {QM_CALL_VARIANTRECREATE, QM_CALL_VARIANTRECREATEDIRECT};

class VariantAssignment : public VariantTest {
 protected:
  static constexpr std::int32_t kOldId = 1;
  static constexpr std::int32_t kNewId = 2;

  // Named, with an attribute, and held by a container as well.
  qm_variant* target() {
    qm_variant* variant = text("old", kOldId, QM_W("old name"));
    append_attribute(variant, integer(77));
    append_item(container(), variant);
    return variant;
  }
  static qm_variant_create number(qm_variant* variant) {
    static const std::int32_t value = 42;
    return {variant, kNewId, QM_W("new name"), QM_TYPE_SIGNED, sizeof value, 1, &value};
  }
  // Everything but the value is the target's own.
  void expect_kept(qm_variant* variant) {
    EXPECT_EQ(references(variant), 2);
    ASSERT_EQ(attributes(variant).size(), 1u);
    EXPECT_EQ(value_of(attributes(variant)[0]), 77);
  }
};

TEST_F(VariantAssignment, ExchangesValueIdAndName) {
  for (const std::uint32_t code : kAssign) {
    qm_variant* variant = target();
    qm_variant_create record = number(variant);
    const qm_variant_create before = record;
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
    expect_kept(variant);
    EXPECT_EQ(info(variant).id, kNewId);
    EXPECT_EQ(info(variant).type, QM_TYPE_SIGNED);
    EXPECT_EQ(info(variant).size, 4);
    EXPECT_EQ(name_of(variant), QM_W("new name"));
    EXPECT_EQ(value_of(variant), 42);
  }
}

TEST_F(VariantAssignment, ExchangesTheHashWithTheName) {
  qm_variant* holder = container();
  qm_variant* variant = text("old", kOldId, QM_W("old name"));
  append_item(holder, variant);
  qm_variant_create record = number(variant);
  ASSERT_EQ(kernel()(QM_CALL_VARIANTASSIGN, &record), 1);
  qm_variant_child search{holder, QM_FIND_NTH_OF_NAME, 0, 0, QM_W("new name"), nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTGETITEM, &search), 1);
  EXPECT_EQ(adopt(search.child), variant);
  search = {holder, QM_FIND_NTH_OF_NAME, 0, 0, QM_W("old name"), nullptr};
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTGETITEM, search, failure(2)));
}

TEST_F(VariantAssignment, MayKeepIdAndName) {
  for (const std::uint32_t code : kAssignValue) {
    qm_variant* variant = target();
    qm_variant_create record = number(variant);
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(record.variant, variant);
    expect_kept(variant);
    EXPECT_EQ(info(variant).id, kOldId);
    EXPECT_EQ(name_of(variant), QM_W("old name"));
    EXPECT_EQ(value_of(variant), 42);
  }
}

TEST_F(VariantAssignment, LeavesTheTargetWhenTheValueIsRefused) {
  for (const Codes& codes : {kAssign, kAssignValue}) {
    for (const std::uint32_t code : codes) {
      qm_variant* variant = target();
      qm_variant_create record = number(variant);
      record.type = QM_TYPE_EMPTY_ARRAY;
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(type)")));
      record = number(variant);
      record.size = 3;
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(size)")));
      record = number(variant);
      record.data = nullptr;
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(items)")));
      expect_kept(variant);
      EXPECT_EQ(info(variant).id, kOldId);
      EXPECT_EQ(name_of(variant), QM_W("old name"));
      EXPECT_EQ(text_value(variant), QM_W("old"));
    }
  }
}

TEST_F(VariantAssignment, NeedsATarget) {
  for (const Codes& codes : {kAssign, kAssignValue}) {
    for (const std::uint32_t code : codes) {
      qm_variant_create record = number(nullptr);
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(variant)")));
      record.type = QM_TYPE_EMPTY_ARRAY;
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(variant)")));
    }
  }
}

TEST_F(VariantAssignment, ReleasesTheItemsOfAnOldContainer) {
  for (const Codes& codes : {kAssign, kAssignValue}) {
    qm_variant* holder = container();
    qm_variant* item = integer(5);
    append_item(holder, item);
    EXPECT_EQ(references(item), 2);
    qm_variant_create record = number(holder);
    ASSERT_EQ(kernel()(codes[0], &record), 1);
    EXPECT_EQ(references(item), 1);
    EXPECT_EQ(value_of(holder), 42);

    record = {holder, 0, nullptr, QM_TYPE_CONTAINER, 0, 0, nullptr};
    ASSERT_EQ(kernel()(codes[0], &record), 1);
    EXPECT_EQ(info(holder).nitems, 0);
    append_item(holder, item);
    EXPECT_EQ(items(holder), std::vector<qm_variant*>{item});
  }
}

TEST_F(VariantAssignment, GoesThroughAllTypes) {
  qm_variant* variant = empty();
  const double floating[] = {0.5, 1.5};
  const qm_variant_create values[] = {
      {variant, 0, nullptr, QM_TYPE_TEXT, 5, 1, "text"},
      {variant, 0, nullptr, QM_TYPE_FLOATING_ARRAY, 8, 2, floating},
      {variant, 0, nullptr, QM_TYPE_EMPTY, 0, 0, nullptr},
      {variant, 0, nullptr, QM_TYPE_WIDE_TEXT, 2, 1, QM_W("w")},
      {variant, 0, nullptr, QM_TYPE_CONTAINER, 0, 0, nullptr},
      {variant, 0, nullptr, QM_TYPE_BINARY, 0, 1, floating},
      {variant, 0, nullptr, QM_TYPE_FLOATING, 8, 1, floating},
  };
  for (qm_variant_create record : values) {
    ASSERT_EQ(kernel()(QM_CALL_VARIANTASSIGN, &record), 1);
    EXPECT_EQ(info(variant).type, record.type);
  }
  EXPECT_EQ(text_value(variant), QM_W("0.5"));
}

// ---- Recreating --------------------------------------------------------------------------------

TEST_F(VariantAssignment, RecreatesInTheRecord) {
  for (const std::uint32_t code : kRecreate) {
    qm_variant* old = integer(5);
    kernel()(QM_CALL_VARIANTREF, old);
    qm_variant_create record = number(old);
    ASSERT_EQ(kernel()(code, &record), 1);
    ASSERT_NE(record.variant, nullptr);
    adopt(record.variant);
    EXPECT_NE(record.variant, old);
    EXPECT_EQ(references(old), 1);
    EXPECT_EQ(value_of(old), 5);
    EXPECT_EQ(value_of(record.variant), 42);
    EXPECT_EQ(name_of(record.variant), QM_W("new name"));
    EXPECT_EQ(references(record.variant), 1);
  }
}

TEST_F(VariantAssignment, RecreatesWithoutAnOldVariant) {
  for (const std::uint32_t code : kRecreate) {
    qm_variant_create record = number(nullptr);
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(value_of(adopt(record.variant)), 42);
  }
}

TEST_F(VariantAssignment, ReleasesTheOldVariantEvenIfThereIsNoNewOne) {
  for (const std::uint32_t code : kRecreate) {
    qm_variant* old = integer(5);
    qm_variant* holder = container();
    append_item(holder, old);
    kernel()(QM_CALL_VARIANTREF, old);
    EXPECT_EQ(references(old), 3);
    qm_variant_create record = number(old);
    record.type = QM_TYPE_EMPTY_ARRAY;
    EXPECT_TRUE(kernel().fails(code, &record, failure(22, "(type)")));
    EXPECT_EQ(record.variant, nullptr);
    EXPECT_EQ(references(old), 2);
    EXPECT_TRUE(kernel().fails(code, &record, failure(22, "(type)")));
  }
}

}  // namespace
}  // namespace contract
