// Every operation on variants with every allocation failing: error 12, nothing lost, nothing
// changed.
#include <iterator>

#include "tests/support/allocation_failures.h"
#include "tests/unit/variant/variant_support.h"
#include "variant/child_calls.h"
#include "variant/conversion.h"
#include "variant/path.h"
#include "variant/variant_calls.h"

namespace qmsd {
namespace {

using test::allocation_refused;
using test::fail_each_allocation;

const std::int32_t kNumbers[] = {1, 2, 3};
// The kernel's own object, whose codes do nothing.
const qm_object_data kObject = {0, QM_W(""), {QM_CALL_NOP, QM_CALL_NOP, 0, 0}};

const qm_variant_create kRequests[] = {
    {nullptr, 1, QM_W("name"), QM_TYPE_EMPTY, 0, 0, nullptr},
    {nullptr, 1, QM_W("name"), QM_TYPE_SIGNED, 4, 1, kNumbers},
    {nullptr, 1, QM_W("name"), QM_TYPE_SIGNED_ARRAY, 4, 3, kNumbers},
    {nullptr, 1, QM_W("name"), QM_TYPE_CONTAINER, 0, 0, nullptr},
    {nullptr, 1, QM_W("name"), QM_TYPE_BINARY, 5, 1, kNumbers},
    {nullptr, 1, QM_W("name"), QM_TYPE_TEXT, 5, 1, "text"},
    {nullptr, 1, QM_W("name"), QM_TYPE_TEXT_AUTO, 3, 1, "12"},
    {nullptr, 1, QM_W("name"), QM_TYPE_TEXT_UTF8, 3, 1, "\xC3\xA9"},
    {nullptr, 1, QM_W("name"), QM_TYPE_WIDE_TEXT, 5, 1, QM_W("text")},
    {nullptr, 1, QM_W("name"), QM_TYPE_WIDE_TEXT_AUTO, 3, 1, QM_W("12")},
    {nullptr, 1, QM_W("name"), QM_TYPE_WIDE_TEXT_AUTO, 5, 1, QM_W("text")},
};

class VariantsWithoutMemory : public test::Variants {
 protected:
  // A failure is error 12, and there is one exactly if memory ran out.
  static void expect_outcome(bool succeeded) {
    EXPECT_EQ(succeeded, !allocation_refused());
    if (!succeeded) {
      EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
    }
  }
};

TEST_F(VariantsWithoutMemory, AreNotCreated) {
  for (const qm_variant_create& request : kRequests) {
    SCOPED_TRACE(request.type);
    fail_each_allocation([&] {
      qm_variant_create record = request;
      expect_outcome(variant_create(record));
      EXPECT_EQ(record.variant != nullptr, !allocation_refused());
      const VariantOwner made(record.variant);
    });
  }
}

TEST_F(VariantsWithoutMemory, KeepTheirValue) {
  for (const qm_variant_create& request : kRequests) {
    SCOPED_TRACE(request.type);
    fail_each_allocation([&] {
      const VariantOwner target = number(42);
      if (!target) return;
      qm_variant_create record = request;
      record.variant = target.get();
      const bool assigned = variant_assign(record);
      expect_outcome(assigned);
      EXPECT_EQ(target->name() != nullptr, assigned);
      if (assigned) return;
      EXPECT_EQ(target->type(), QM_TYPE_SIGNED);
      EXPECT_EQ(target->bits(), 42);
    });
  }
}

TEST_F(VariantsWithoutMemory, AreReleasedWhenTheyCannotBeRecreated) {
  const VariantOwner old = number(1);
  for (const qm_variant_create& request : kRequests) {
    fail_each_allocation([&] {
      old->add_reference();
      qm_variant_create record = request;
      record.variant = old.get();
      expect_outcome(variant_recreate(record));
      EXPECT_EQ(old->references(), 1);
      const VariantOwner fresh(record.variant);
      EXPECT_EQ(static_cast<bool>(fresh), !allocation_refused());
    });
  }
}

TEST_F(VariantsWithoutMemory, AreNotCopiedByHalf) {
  const VariantOwner root = container();
  for (const qm_variant_create& request : kRequests) {
    const VariantOwner child = create_variant(request);
    ASSERT_TRUE(root->items().insert(0, *child));
    ASSERT_TRUE(child->attributes().insert(0, *number(1, QM_W("attribute")).get()));
  }
  const VariantOwner object = create_variant({nullptr, 0, nullptr, QM_TYPE_OBJECT, 4, 1, &kObject});
  ASSERT_TRUE(root->items().insert(0, *object));
  fail_each_allocation([&] {
    qm_variant_copy record{root.get(), root.get()};
    expect_outcome(variant_copy(record));
    EXPECT_EQ(record.copy != nullptr, !allocation_refused());
    const VariantOwner copy(record.copy);
    for (const qm_variant* item : root->items().entries()) {
      EXPECT_EQ(item->references(), item == object.get() ? 2 : 1);
    }
  });
}

TEST_F(VariantsWithoutMemory, AreNotInserted) {
  fail_each_allocation([&] {
    const VariantOwner holder = container();
    const VariantOwner child = number(1);
    if (!holder || !child) return;
    for (const auto insert : {item_insert, attribute_insert}) {
      qm_variant_child record{holder.get(), QM_FIND_LAST, 0, 0, nullptr, child.get()};
      const std::int32_t before = child->references();
      const bool inserted = insert(record);
      EXPECT_EQ(child->references(), before + (inserted ? 1 : 0));
      if (inserted) continue;
      EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
    }
  });
}

TEST_F(VariantsWithoutMemory, AreNotFound) {
  const VariantOwner root = container();
  ASSERT_TRUE(root->attributes().insert(0, *number(5, QM_W("a")).get()));
  const std::int32_t references = root->attributes()[0]->references();
  fail_each_allocation([&] {
    qm_variant_path_w wide{root.get(), QM_W("V='5'"), nullptr};
    qm_variant_path_a narrow{root.get(), "V='5'", nullptr};
    const bool found_wide = variant_path_wide(wide);
    const bool found_narrow = variant_path_narrow(narrow);
    if (!found_wide || !found_narrow) {
      EXPECT_TRUE(allocation_refused());
    }
    const VariantOwner first(wide.result);
    const VariantOwner second(narrow.result);
    EXPECT_EQ(static_cast<bool>(first), found_wide);
    EXPECT_EQ(static_cast<bool>(second), found_narrow);
  });
  EXPECT_EQ(root->attributes()[0]->references(), references);
}

TEST_F(VariantsWithoutMemory, AreNotConverted) {
  const VariantOwner wide =
      create_variant({nullptr, 0, nullptr, QM_TYPE_WIDE_TEXT, 3, 1, QM_W("12")});
  const VariantOwner narrow = create_variant({nullptr, 0, nullptr, QM_TYPE_TEXT, 3, 1, "12"});
  fail_each_allocation([&] {
    std::int64_t value = 0;
    qm_variant_convert record{wide.get(), -1, QM_TYPE_SIGNED, 8, 1, &value, 8};
    const bool read = variant_convert(record);
    EXPECT_EQ(value, read ? 12 : 0);
    char text[8] = {};
    record = {narrow.get(), -1, QM_TYPE_TEXT_UTF8, 8, 1, text, 8};
    const bool written = variant_convert(record);
    EXPECT_STREQ(text, written ? "12" : "");
    if (!read || !written) {
      EXPECT_TRUE(allocation_refused());
    }
  });
}

}  // namespace
}  // namespace qmsd
