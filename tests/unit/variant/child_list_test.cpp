#include "variant/child_list.h"

#include "tests/support/allocation_failures.h"
#include "tests/unit/variant/variant_support.h"

namespace qmsd {
namespace {

class ChildLists : public test::Variants {
 protected:
  // Which allocations does inserting that many children at the end need?
  static int allocations_to_insert(qm_variant& holder, qm_variant& child, std::int32_t count) {
    int allocations = 0;
    for (std::int32_t at = 0; at < count; ++at) {
      ChildList list = holder.items();
      const bool failed = test::with_allocation_failing(1, test::Shortage::once, [&] {
        if (!list.insert(list.count(), child)) return;
      });
      if (!failed) continue;
      ++allocations;
      EXPECT_TRUE(list.insert(list.count(), child));
    }
    return allocations;
  }
};

TEST_F(ChildLists, GrowInStepsOf16) {
  const VariantOwner holder = container();
  const VariantOwner child = number(1);
  EXPECT_EQ(allocations_to_insert(*holder, *child, 1), 1);
  EXPECT_EQ(allocations_to_insert(*holder, *child, 15), 0);
  EXPECT_EQ(allocations_to_insert(*holder, *child, 1), 1);
  EXPECT_EQ(allocations_to_insert(*holder, *child, 15), 0);
  EXPECT_EQ(allocations_to_insert(*holder, *child, 1), 1);
  EXPECT_EQ(holder->items().count(), 33);
  EXPECT_EQ(child->references(), 34);
}

TEST_F(ChildLists, AreAllocatedAnewAtEachMultipleOf16) {
  const VariantOwner holder = container();
  const VariantOwner child = number(1);
  allocations_to_insert(*holder, *child, 33);
  while (holder->items().count() > 16) holder->items().remove(0)->drop_reference();
  EXPECT_EQ(allocations_to_insert(*holder, *child, 1), 1);
  while (holder->items().count() > 0) holder->items().remove(0)->drop_reference();
  EXPECT_EQ(allocations_to_insert(*holder, *child, 1), 1);
}

TEST_F(ChildLists, StayAsTheyAreWhenTheyCannotGrow) {
  const VariantOwner holder = container();
  const VariantOwner child = number(1);
  allocations_to_insert(*holder, *child, 16);
  ChildList list = holder->items();
  test::with_allocation_failing(1, test::Shortage::once,
                                [&] { EXPECT_FALSE(list.insert(3, *child)); });
  EXPECT_STANDARD_ERROR(QM_ERROR_NO_MEMORY);
  EXPECT_EQ(list.count(), 16);
  EXPECT_EQ(child->references(), 17);
}

TEST_F(ChildLists, RaiseNoCountBelow1) {
  const VariantOwner holder = container();
  const VariantOwner child = number(1);
  child->drop_reference();
  EXPECT_TRUE(holder->items().insert(0, *child));
  EXPECT_EQ(child->references(), 0);
  EXPECT_EQ(child->drop_reference(), 0);
  EXPECT_EQ(child->add_reference(), 1);
  // The list's own reference was never taken.
  EXPECT_EQ(holder->items().remove(0), child.get());
}

}  // namespace
}  // namespace qmsd
