// Every operation on variants with every allocation failing: error 12, nothing lost, nothing
// changed.
#include <iterator>
#include <new>
#include <string>

#include "tests/support/allocation_failures.h"
#include "tests/unit/variant/variant_support.h"
#include "variant/child_calls.h"
#include "variant/conversion.h"
#include "variant/path.h"
#include "variant/variant_calls.h"

namespace qmsd {
namespace {

using test::allocation_refused;

const std::int32_t kNumbers[] = {1, 2, 3};
// The kernel's own object, whose codes do nothing.
const qm_object_data kObject = {0, QM_W(""), {QM_CALL_NOP, QM_CALL_NOP, 0, 0}};

// Too long for the room that is there without asking for it.
constexpr std::int32_t kLong = 300;
std::string after_blanks(std::string_view text) { return std::string(kLong, ' ').append(text); }
std::basic_string<qm_wchar> wide_after_blanks(WideView text) {
  return std::basic_string<qm_wchar>(kLong, QM_W(' ')).append(text);
}
const auto kLongText = after_blanks("12");
const auto kLongWideText = wide_after_blanks(QM_W("12"));

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
    {nullptr, 1, QM_W("name"), QM_TYPE_WIDE_TEXT_AUTO, kLong + 3, 1, kLongWideText.c_str()},
    {nullptr, 1, QM_W("name"), QM_TYPE_OBJECT, 4, 1, &kObject},
};

class VariantsWithoutMemory : public test::Variants {
 protected:
  // The first call of all loads tables, which is no matter of these tests.
  VariantsWithoutMemory() { qm_call(0, QM_CALL_NOP, nullptr); }

  // Allocations fail by answering nothing, and by throwing.
  template <class Scenario>
  static void fail_each_allocation(Scenario scenario) {
    test::fail_each_allocation(scenario);
    test::throw_at_each_allocation(scenario);
  }
  // As the kernel's entry does it.
  template <class Record>
  static bool call(bool (*operation)(Record&), Record& record) {
    try {
      return operation(record);
    } catch (const std::bad_alloc&) {
      return fail(QM_ERROR_NO_MEMORY);
    }
  }
  // A failure is error 12, and there is one exactly if memory ran out.
  static void expect_outcome(bool succeeded) {
    EXPECT_EQ(succeeded, !allocation_refused());
    if (!succeeded) {
      EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
    }
  }
};

TEST_F(VariantsWithoutMemory, AreNotCreated) {
  const VariantOwner stale = number(0);
  for (const qm_variant_create& request : kRequests) {
    SCOPED_TRACE(request.type);
    fail_each_allocation([&] {
      qm_variant_create record = request;
      record.variant = stale.get();
      expect_outcome(call(variant_create, record));
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
      const bool assigned = call(variant_assign, record);
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
      expect_outcome(call(variant_recreate, record));
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
    expect_outcome(call(variant_copy, record));
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
      const bool inserted = call(insert, record);
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
  const auto wide_path = wide_after_blanks(QM_W("V='5'"));
  const auto narrow_path = after_blanks("V='5'");
  fail_each_allocation([&] {
    qm_variant_path_w wide{root.get(), wide_path.c_str(), nullptr};
    qm_variant_path_a narrow{root.get(), narrow_path.c_str(), nullptr};
    const bool found_wide = call(variant_path_wide, wide);
    const bool found_narrow = call(variant_path_narrow, narrow);
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
      create_variant({nullptr, 0, nullptr, QM_TYPE_WIDE_TEXT, kLong + 3, 1, kLongWideText.c_str()});
  const VariantOwner narrow =
      create_variant({nullptr, 0, nullptr, QM_TYPE_TEXT, kLong + 3, 1, kLongText.c_str()});
  fail_each_allocation([&] {
    std::int64_t value = 0;
    qm_variant_convert record{wide.get(), -1, QM_TYPE_SIGNED, 8, 1, &value, 8};
    const bool read = call(variant_convert, record);
    EXPECT_EQ(value, read ? 12 : 0);
    EXPECT_EQ(record.id, read ? 0 : -1);
    char text[8] = {};
    record = {narrow.get(), -1, QM_TYPE_TEXT_UTF8, 8, 1, text, 8};
    const bool written = call(variant_convert, record);
    EXPECT_STREQ(text, written ? "       " : "");
    EXPECT_EQ(read && written, !allocation_refused());
  });
}

// Taking from the front of a list never needs memory, and nor does giving back.
TEST_F(VariantsWithoutMemory, AreStillRemovedAndReleased) {
  const VariantOwner holder = container();
  const VariantOwner child = number(1, QM_W("child"));
  ASSERT_TRUE(holder->items().insert(0, *child));
  test::with_allocation_failing(1, test::Shortage::from_then_on, [&] {
    qm_variant_child record{holder.get(), QM_FIND_NTH_OF_NAME, 0, 0, QM_W("child"), nullptr};
    EXPECT_TRUE(item_get(record));
    EXPECT_TRUE(variant_release(record.child));
    EXPECT_TRUE(item_delete(record));
  });
  EXPECT_EQ(child->references(), 1);
}

}  // namespace
}  // namespace qmsd
