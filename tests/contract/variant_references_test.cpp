// References: who holds a variant, and when it goes.
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantReferences : public VariantTest {};

TEST_F(VariantReferences, AreCounted) {
  qm_variant* variant = integer(1);
  EXPECT_EQ(references(variant), 1);
  EXPECT_EQ(kernel()(QM_CALL_VARIANTREF, variant), 1);
  EXPECT_EQ(references(variant), 2);
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, variant), 1);
  EXPECT_EQ(references(variant), 1);
}

TEST_F(VariantReferences, NeedAVariant) {
  EXPECT_TRUE(kernel().fails(QM_CALL_VARIANTREF, nullptr, failure(22, "(variant)")));
  EXPECT_TRUE(kernel().fails(QM_CALL_VARIANTRELEASE, nullptr, failure(22, "(variant)")));
}

TEST_F(VariantReferences, AreRefusedBelow1) {
  qm_variant* variant = integer(1);
  for (const std::int32_t count : {0, -1, -5}) {
    set_references(variant, count);
    EXPECT_TRUE(kernel().fails(QM_CALL_VARIANTRELEASE, variant, failure(22, "(ref=%i)", count)));
    EXPECT_EQ(references(variant), count) << "a refused release changes nothing";
    EXPECT_TRUE(kernel().fails(QM_CALL_VARIANTREF, variant, failure(14, "(ref=%i)", count + 1)));
    EXPECT_EQ(references(variant), count + 1) << "the raise stands";
  }
  set_references(variant, 1);
}

TEST_F(VariantReferences, OfAChildBelow1AreNotRaisedByInsertionNorDroppedByTheHolder) {
  qm_variant* holder = container();
  qm_variant* child = integer(1);
  set_references(child, 0);
  append_item(holder, child);
  append_attribute(holder, child);
  EXPECT_EQ(references(child), 0);
  give_back(holder);
  EXPECT_EQ(references(child), 0) << "the holder's end releases nothing below 1";
  set_references(child, 1);
}

TEST_F(VariantReferences, OfARemovedChildBelow1AreReported) {
  qm_variant* holder = container();
  qm_variant* child = integer(1, 9);
  append_item(holder, child);
  append_attribute(holder, child);
  set_references(child, -2);
  for (const std::uint32_t code : {QM_CALL_VARIANTDELETEITEM, QM_CALL_VARIANTDELETEATTRIBUTE}) {
    qm_variant_child record{holder, 0, 0, 0, nullptr, nullptr};
    EXPECT_TRUE(kernel().fails(code, &record, failure(22, "(ref=%i)", -2)));
  }
  EXPECT_TRUE(items(holder).empty());
  EXPECT_TRUE(attributes(holder).empty());
  set_references(child, 1);
}

TEST_F(VariantReferences, OfAHolderKeepItsChildrenAlive) {
  qm_variant* holder = container();
  qm_variant* item = integer(5, 1);
  qm_variant* attribute = integer(6, 2);
  append_item(holder, item);
  append_attribute(holder, attribute);
  give_back(item);
  give_back(attribute);
  EXPECT_EQ(references(item), 1);
  EXPECT_EQ(value_of(item), 5);
  EXPECT_EQ(value_of(attribute), 6);
}

TEST_F(VariantReferences, OfSharedChildrenAreGivenBackByEachHolder) {
  qm_variant* child = integer(1);
  qm_variant* first = container();
  qm_variant* second = container();
  append_item(first, child);
  append_item(second, child);
  append_item(second, child);
  append_attribute(second, child);
  EXPECT_EQ(references(child), 5);
  give_back(second);
  EXPECT_EQ(references(child), 2);
  give_back(first);
  EXPECT_EQ(references(child), 1);
}

TEST_F(VariantReferences, EndATreeFromItsRoot) {
  // A chain as deep as no stack, with a witness at its end.
  constexpr int kDepth = 100000;
  qm_variant* witness = integer(1);
  qm_variant* inner = container();
  append_item(inner, witness);
  for (int depth = 0; depth < kDepth; ++depth) {
    qm_variant* outer = container();
    append_item(outer, inner);
    give_back(inner);
    inner = outer;
  }
  EXPECT_EQ(references(witness), 2);
  give_back(inner);
  EXPECT_EQ(references(witness), 1);
}

}  // namespace
}  // namespace contract
