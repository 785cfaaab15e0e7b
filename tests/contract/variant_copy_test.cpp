// Deep copies: everything is copied, and what was shared stays shared.
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantCopies : public VariantTest {
 protected:
  qm_variant* copy_of(qm_variant* source) {
    qm_variant_copy record{source, poisoned<qm_variant*>()};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCOPY, &record), 1);
    EXPECT_EQ(record.source, source);
    return record.copy == nullptr ? nullptr : adopt(record.copy);
  }
};

TEST_F(VariantCopies, OfNothingAreNothing) { EXPECT_EQ(copy_of(nullptr), nullptr); }

TEST_F(VariantCopies, HaveTheSameValueNameAndId) {
  const std::int64_t noon = 0x12345678;
  qm_variant* sources[] = {
      empty(1, QM_W("empty")),
      make(QM_TYPE_SIGNED, 0, 0, nullptr, 2, QM_W("no width")),
      scalar<std::int8_t>(QM_TYPE_SIGNED, -5, 3, QM_W("")),
      scalar<std::uint16_t>(QM_TYPE_UNSIGNED, 65535, 4, nullptr),
      scalar<float>(QM_TYPE_FLOATING, 1.5f, 5, QM_W("float")),
      scalar(QM_TYPE_DATETIME, noon, 6),
      array<std::int16_t>(QM_TYPE_SIGNED_ARRAY, {1, -2, 3}),
      array<double>(QM_TYPE_FLOATING_ARRAY, {}),
      make(QM_TYPE_BINARY, 3, 1, "a\0b", 7),
      make(QM_TYPE_BINARY, 0, 1, "", 8),
      text("narrow", 9),
      wide_text(QM_W("wide")),
      container(10, QM_W("container")),
  };
  for (qm_variant* source : sources) {
    qm_variant* copy = copy_of(source);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, source);
    const qm_variant_info of_source = info(source);
    SCOPED_TRACE(of_source.type);
    const qm_variant_info of_copy = info(copy);
    EXPECT_EQ(of_copy.id, of_source.id);
    EXPECT_EQ(of_copy.type, of_source.type);
    EXPECT_EQ(of_copy.size, of_source.size);
    EXPECT_EQ(of_copy.nitems, of_source.nitems);
    EXPECT_EQ(name_of(copy), name_of(source));
    EXPECT_EQ(references(copy), 1);
    EXPECT_EQ(references(source), 1);
    const bool has_bytes = of_source.type != QM_TYPE_EMPTY && of_source.type != QM_TYPE_CONTAINER;
    if (!has_bytes) continue;
    EXPECT_EQ(bytes_of(copy), bytes_of(source));
  }
}

TEST_F(VariantCopies, TellAnEmptyNameFromNone) {
  qm_variant* holder = container();
  append_item(holder, integer(1, 1, nullptr));
  append_item(holder, integer(1, 2, QM_W("")));
  qm_variant* copy = copy_of(holder);
  qm_variant_child record{copy, QM_FIND_NTH_OF_NAME, 0, 0, QM_W(""), nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTGETITEM, &record), 1);
  adopt(record.child);
  EXPECT_EQ(record.id, 2);
}

TEST_F(VariantCopies, LastLongerThanTheirSource) {
  qm_variant* source = text("text", 0, QM_W("name"));
  append_attribute(source, integer(8, 0, QM_W("attribute")));
  qm_variant* copy = copy_of(source);
  give_back(source);
  EXPECT_EQ(text_value(copy), QM_W("text"));
  EXPECT_EQ(name_of(copy), QM_W("name"));
  EXPECT_EQ(value_of(attributes(copy).at(0)), 8);
}

TEST_F(VariantCopies, HaveCopiesOfItemsAndAttributesInTheSameOrder) {
  qm_variant* source = container();
  for (std::int32_t at = 0; at < 40; ++at) {
    qm_variant* item = integer(at, 100 + at, QM_W("item"));
    append_attribute(item, integer(1000 + at));
    append_item(source, item);
    append_attribute(source, integer(-at));
  }
  qm_variant* copy = copy_of(source);
  const auto old_items = items(source);
  const auto new_items = items(copy);
  const auto new_attributes = attributes(copy);
  ASSERT_EQ(new_items.size(), 40u);
  ASSERT_EQ(new_attributes.size(), 40u);
  for (std::size_t at = 0; at < 40; ++at) {
    const auto number = static_cast<std::int32_t>(at);
    EXPECT_NE(new_items[at], old_items[at]);
    EXPECT_EQ(references(new_items[at]), 1);
    EXPECT_EQ(value_of(new_items[at]), number);
    EXPECT_EQ(info(new_items[at]).id, 100 + number);
    EXPECT_EQ(value_of(attributes(new_items[at]).at(0)), 1000 + number);
    EXPECT_EQ(value_of(new_attributes[at]), -number);
  }
  // The copied lists have room of their own.
  append_item(copy, integer(40));
  EXPECT_EQ(items(copy).size(), 41u);
  EXPECT_EQ(items(source).size(), 40u);
}

TEST_F(VariantCopies, ShareWhatTheSourceShares) {
  qm_variant* shared = integer(7);
  qm_variant* inner = container();
  qm_variant* source = container();
  append_item(inner, shared);
  append_item(source, shared);
  append_item(source, inner);
  append_item(source, shared);
  append_attribute(source, shared);
  qm_variant* copy = copy_of(source);
  const auto copied = items(copy);
  ASSERT_EQ(copied.size(), 3u);
  EXPECT_NE(copied[0], shared);
  EXPECT_EQ(copied[2], copied[0]);
  EXPECT_EQ(items(copied[1]).at(0), copied[0]);
  EXPECT_EQ(attributes(copy).at(0), copied[0]);
  EXPECT_EQ(references(copied[0]), 4);
  EXPECT_EQ(references(copied[1]), 1);
  EXPECT_EQ(references(shared), 5);
}

TEST_F(VariantCopies, OfContainersInThemselvesContainThemselves) {
  qm_variant* source = container();
  append_item(source, integer(1));
  append_item(source, source);
  append_attribute(source, source);
  EXPECT_EQ(references(source), 3);
  qm_variant* copy = copy_of(source);
  EXPECT_EQ(items(copy).at(1), copy);
  EXPECT_EQ(attributes(copy).at(0), copy);
  EXPECT_EQ(references(copy), 3);
  // Opened, so that both can go.
  for (qm_variant* variant : {source, copy}) {
    qm_variant_child item{variant, QM_FIND_LAST, 0, 0, nullptr, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEITEM, &item), 1);
    qm_variant_child attribute{variant, 0, 0, 0, nullptr, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEATTRIBUTE, &attribute), 1);
    EXPECT_EQ(references(variant), 1);
  }
}

TEST_F(VariantCopies, AreAsDeepAsTheirSource) {
  constexpr int kDepth = 100000;
  qm_variant* inner = container(kDepth);
  for (int depth = kDepth - 1; depth >= 0; --depth) {
    qm_variant* outer = container(depth);
    append_item(outer, inner);
    give_back(inner);
    inner = outer;
  }
  qm_variant* copy = copy_of(inner);
  give_back(inner);
  ASSERT_NE(copy, nullptr);
  int depth = 0;
  for (qm_variant* level = copy;; ++depth) {
    qm_variant_child record{level, 0, 0, 0, nullptr, nullptr};
    if (kernel()(QM_CALL_VARIANTGETITEM, &record) != 1) break;
    kernel()(QM_CALL_VARIANTRELEASE, record.child);
    ASSERT_EQ(record.id, depth + 1);
    level = record.child;
  }
  EXPECT_EQ(depth, kDepth);
}

}  // namespace
}  // namespace contract
