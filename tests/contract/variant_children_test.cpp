// Items and attributes: selecting, inserting, removing, finding positions and counting.
#include <algorithm>
#include <climits>

#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

// What can be done with items, and with attributes.
struct ChildCodes {
  Codes get, take, insert, remove, count;
};
const ChildCodes kItems = {{QM_CALL_VARIANTGETITEM, QM_CALL_VARIANTGETITEMDIRECT},
                           {QM_CALL_VARIANTTAKEITEM, QM_CALL_VARIANTTAKEITEMDIRECT},
                           {QM_CALL_VARIANTINSERTITEM, QM_CALL_VARIANTINSERTITEMDIRECT},
                           {QM_CALL_VARIANTDELETEITEM},
                           {QM_CALL_VARIANTCOUNTITEMS}};
const ChildCodes kAttributes = {
    {QM_CALL_VARIANTGETATTRIBUTE, QM_CALL_VARIANTGETATTRIBUTEDIRECT},
    {QM_CALL_VARIANTTAKEATTRIBUTE},
    {QM_CALL_VARIANTINSERTATTRIBUTE, QM_CALL_VARIANTINSERTATTRIBUTEDIRECT},
    {QM_CALL_VARIANTDELETEATTRIBUTE},
    {QM_CALL_VARIANTCOUNTATTRIBUTES}};

class VariantChildren : public VariantTest, public testing::WithParamInterface<ChildCodes> {
 protected:
  const ChildCodes& codes() const { return GetParam(); }
  std::vector<qm_variant*> list(qm_variant* holder) { return children(holder, codes().get[0]); }

  void append_child(qm_variant* holder, qm_variant* child) {
    qm_variant_child record{holder, QM_FIND_LAST, 0, 0, nullptr, child};
    EXPECT_EQ(kernel()(codes().insert[0], &record), 1);
  }
  // ids 1 2 1 3 1 with the names a b null b a.
  qm_variant* five_children() {
    qm_variant* holder = container();
    const qm_wchar* names[] = {QM_W("a"), QM_W("b"), nullptr, QM_W("b"), QM_W("a")};
    const std::int32_t ids[] = {1, 2, 1, 3, 1};
    for (std::size_t at = 0; at < 5; ++at) {
      append_child(holder, integer(static_cast<std::int32_t>(at), ids[at], names[at]));
    }
    return holder;
  }
  static qm_variant_child request(qm_variant* holder, std::uint32_t flags, std::int32_t id,
                                  std::int32_t index, const qm_wchar* name) {
    auto record = poisoned<qm_variant_child>();
    record = {holder, flags, id, index, name, poisoned<qm_variant*>()};
    return record;
  }
};

INSTANTIATE_TEST_SUITE_P(Items, VariantChildren, testing::Values(kItems));
INSTANTIATE_TEST_SUITE_P(Attributes, VariantChildren, testing::Values(kAttributes));

struct Selection {
  std::uint32_t flags;
  std::int32_t id;
  std::int32_t index;
  const qm_wchar* name;
  std::int32_t position;  // -1: none, error 2
};

constexpr std::uint32_t kIx = QM_FIND_INDEX;
constexpr std::uint32_t kNthId = QM_FIND_NTH_OF_ID;
constexpr std::uint32_t kNthName = QM_FIND_NTH_OF_NAME;
constexpr std::uint32_t kNameFrom = QM_FIND_NAME_FROM;
constexpr std::uint32_t kIdFrom = QM_FIND_ID_FROM;

constexpr Selection kSelections[] = {
    {0, 0, 0, nullptr, 0},
    {0, 0, 3, nullptr, 0},  // the index was not announced
    {0, 0, -3, nullptr, 0},
    {kIx, 0, 3, nullptr, 3},
    {kIx, 0, 4, nullptr, 4},
    {kIx, 0, 5, nullptr, -1},
    {kIx, 0, INT_MAX, nullptr, -1},
    {QM_FIND_LAST, 0, 0, nullptr, 4},
    {QM_FIND_LAST | kIx, 0, 1, nullptr, 4},
    {kNthId, 1, 0, nullptr, 0},
    {kNthId, 2, 0, nullptr, 1},
    {kNthId, 1, 1, nullptr, 0},
    {kNthId | kIx, 1, 0, nullptr, 0},
    {kNthId | kIx, 1, 1, nullptr, 2},
    {kNthId | kIx, 1, 2, nullptr, 4},
    {kNthId | kIx, 1, 3, nullptr, -1},
    {kNthId, 9, 0, nullptr, -1},
    {kNthName, 0, 0, QM_W("b"), 1},
    {kNthName | kIx, 0, 1, QM_W("b"), 3},
    {kNthName | kIx, 0, 2, QM_W("b"), -1},
    {kNthName, 0, 0, nullptr, 2},
    {kNthName | kIx, 0, 1, nullptr, -1},
    {kNthName, 0, 0, QM_W(""), -1},
    {kNthName, 0, 0, QM_W("A"), -1},
    {kNthName, 0, 0, QM_W("ab"), -1},
    {kNameFrom, 0, 0, QM_W("a"), 0},
    {kNameFrom, 0, 3, QM_W("a"), 0},
    {kNameFrom | kIx, 0, 0, QM_W("a"), 0},
    {kNameFrom | kIx, 0, 1, QM_W("a"), 4},
    {kNameFrom | kIx, 0, 4, QM_W("a"), 4},
    {kNameFrom | kIx, 0, 5, QM_W("a"), -1},
    {kNameFrom | kIx, 0, 2, nullptr, 2},
    {kNameFrom | kIx, 0, 3, nullptr, -1},
    {kIdFrom, 1, 0, nullptr, 0},
    {kIdFrom | kIx, 1, 1, nullptr, 2},
    {kIdFrom | kIx, 1, 3, nullptr, 4},
    {kIdFrom | kIx, 2, 2, nullptr, -1},
    {kIdFrom | kIx, 1, INT_MAX, nullptr, -1},
    // earlier flags win
    {QM_FIND_LAST | kNthId, 2, 0, nullptr, 4},
    {kNthId | kNthName, 3, 0, QM_W("a"), 3},
    {kNthName | kNameFrom | kIx, 0, 1, QM_W("a"), 4},
    {kNthName | kNameFrom | kIx, 0, 1, QM_W("b"), 3},
    {kNameFrom | kIdFrom, 3, 0, QM_W("b"), 1},
    {kNthId | kNameFrom | kIdFrom | kIx, 1, 1, QM_W("b"), 2},
    // what is meant for insertion does not matter
    {QM_INSERT_AFTER, 0, 0, nullptr, 0},
    {0x400 | kIx, 0, 2, nullptr, 2},
};

TEST_P(VariantChildren, AreSelectedByTheFirstFlagThatIsSet) {
  qm_variant* holder = five_children();
  const auto all = list(holder);
  const std::int32_t ids[] = {1, 2, 1, 3, 1};
  for (const Selection& selection : kSelections) {
    SCOPED_TRACE(printable(
        text_of("flags %x, id %d, index %d", selection.flags, selection.id, selection.index)));
    for (const std::uint32_t code : codes().get) {
      auto record = request(holder, selection.flags, selection.id, selection.index, selection.name);
      if (selection.position < 0) {
        EXPECT_TRUE(kernel().refuses(code, record, failure(2)));
        continue;
      }
      const auto position = static_cast<std::size_t>(selection.position);
      ASSERT_EQ(kernel()(code, &record), 1);
      EXPECT_EQ(record.child, all[position]);
      EXPECT_EQ(record.index, selection.position);
      EXPECT_EQ(record.id, ids[position]);
      EXPECT_EQ(record.flags, selection.flags);
      EXPECT_EQ(record.name, selection.name);
      EXPECT_EQ(references(record.child), 3) << "the caller has a reference of its own";
      kernel()(QM_CALL_VARIANTRELEASE, record.child);
    }
  }
}

TEST_P(VariantChildren, AreNotSelectedByNegativeIndices) {
  qm_variant* holder = five_children();
  for (const std::uint32_t flags :
       {0u, kNthId, kNthName, kNameFrom, kIdFrom, std::uint32_t{QM_FIND_LAST}}) {
    for (const Codes& group : {codes().get, codes().take, codes().remove, codes().insert}) {
      for (const std::uint32_t code : group) {
        auto record = request(holder, flags | kIx, 1, -1, QM_W("a"));
        record.child = holder;
        EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(ix)")));
      }
    }
  }
  EXPECT_EQ(list(holder).size(), 5u);
}

TEST_P(VariantChildren, AreNotFoundInEmptyLists) {
  qm_variant* holder = container();
  for (const std::uint32_t flags :
       {0u, kIx, kNthId, kNthName, kNameFrom, kIdFrom, std::uint32_t{QM_FIND_LAST}}) {
    for (const Codes& group : {codes().get, codes().take, codes().remove}) {
      for (const std::uint32_t code : group) {
        auto record = request(holder, flags, 0, 0, nullptr);
        EXPECT_TRUE(kernel().refuses(code, record, failure(2)));
      }
    }
  }
}

TEST_P(VariantChildren, NeedAHolder) {
  for (const Codes& group :
       {codes().get, codes().take, codes().remove, codes().insert, codes().count}) {
    for (const std::uint32_t code : group) {
      auto record = request(nullptr, 0, 0, 0, nullptr);
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(parent)")));
    }
  }
}

TEST_P(VariantChildren, MustBeGivenToBeInserted) {
  qm_variant* holder = container();
  for (const std::uint32_t code : codes().insert) {
    auto record = request(holder, kIx, 0, -1, nullptr);
    record.child = nullptr;
    EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(item)")));
  }
}

// ---- Insertion ---------------------------------------------------------------------------------

struct Insertion {
  std::uint32_t flags;
  std::int32_t id;
  std::int32_t index;
  const qm_wchar* name;
  std::int32_t position;  // -1: "(ix)"
};

constexpr std::uint32_t kAfter = QM_INSERT_AFTER;

constexpr Insertion kInsertions[] = {
    {0, 0, 0, nullptr, 0},
    {0, 0, 3, nullptr, 0},
    {kAfter, 0, 0, nullptr, 1},
    {kIx, 0, 2, nullptr, 2},
    {kIx | kAfter, 0, 2, nullptr, 3},
    {kIx | kAfter, 0, 4, nullptr, 5},
    {kIx, 0, 5, nullptr, 5},
    {kIx | kAfter, 0, 5, nullptr, 5},
    {kIx, 0, 6, nullptr, -1},
    {kIx | kAfter, 0, 6, nullptr, -1},
    {kIx, 0, INT_MAX, nullptr, -1},
    {kIx | kAfter, 0, INT_MAX, nullptr, -1},
    {QM_FIND_LAST, 0, 0, nullptr, 5},
    {QM_FIND_LAST | kAfter, 0, 0, nullptr, 5},
    {QM_FIND_LAST | kIx, 0, 1, nullptr, 5},
    {QM_FIND_LAST | kIx, 0, INT_MAX, nullptr, 5},
    {kNthId, 3, 0, nullptr, 3},
    {kNthId | kAfter, 3, 0, nullptr, 4},
    {kNthId | kIx, 1, 1, nullptr, 2},
    {kNthId, 9, 0, nullptr, 5},
    {kNthId | kAfter, 9, 0, nullptr, 5},
    {kNthName, 0, 0, QM_W("b"), 1},
    {kNthName | kAfter | kIx, 0, 1, QM_W("b"), 4},
    {kNthName, 0, 0, QM_W("none"), 5},
    {kNameFrom | kIx, 0, 1, QM_W("a"), 4},
    {kNameFrom | kIx | kAfter, 0, 1, QM_W("a"), 5},
    {kIdFrom | kIx, 1, 1, nullptr, 2},
    {kIdFrom | kIx | kAfter, 1, 1, nullptr, 3},
    {kIdFrom | kIx, 2, 2, nullptr, 5},
    // a search that begins beyond the end finds nothing, too
    {kNameFrom | kIx, 0, 6, QM_W("a"), 5},
    {kNameFrom | kIx | kAfter, 0, INT_MAX, QM_W("a"), 5},
    {kIdFrom | kIx, 1, 6, nullptr, 5},
    {kIdFrom | kIx | kAfter, 1, INT_MAX, nullptr, 5},
};

TEST_P(VariantChildren, AreInsertedWhereTheRequestSays) {
  for (const Insertion& insertion : kInsertions) {
    SCOPED_TRACE(printable(
        text_of("flags %x, id %d, index %d", insertion.flags, insertion.id, insertion.index)));
    for (const std::uint32_t code : codes().insert) {
      qm_variant* holder = five_children();
      auto expected = list(holder);
      qm_variant* child = integer(99, 42, QM_W("new"));
      auto record = request(holder, insertion.flags, insertion.id, insertion.index, insertion.name);
      record.child = child;
      if (insertion.position < 0) {
        EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(ix)")));
        EXPECT_EQ(references(child), 1);
      } else {
        ASSERT_EQ(kernel()(code, &record), 1);
        EXPECT_EQ(record.index, insertion.position);
        EXPECT_EQ(record.id, 42);
        EXPECT_EQ(record.child, child);
        EXPECT_EQ(record.flags, insertion.flags);
        EXPECT_EQ(references(child), 2);
        expected.insert(expected.begin() + insertion.position, child);
      }
      EXPECT_EQ(list(holder), expected);
    }
  }
}

TEST_P(VariantChildren, AreInsertedIntoEmptyListsAtTheStart) {
  for (const std::uint32_t flags : {0u, kIx, kAfter, kNthId, kNthName, kNameFrom, kIdFrom,
                                    kNthName | kAfter, std::uint32_t{QM_FIND_LAST}}) {
    qm_variant* holder = container();
    qm_variant* child = integer(1);
    auto record = request(holder, flags, 0, 0, nullptr);
    record.child = child;
    ASSERT_EQ(kernel()(codes().insert[0], &record), 1);
    EXPECT_EQ(record.index, 0);
    EXPECT_EQ(list(holder), std::vector<qm_variant*>{child});
  }
  qm_variant* holder = container();
  auto record = request(holder, kIx, 0, 1, nullptr);
  record.child = holder;
  EXPECT_TRUE(kernel().refuses(codes().insert[0], record, failure(22, "(ix)")));
}

TEST_P(VariantChildren, MayBeInTheListTwice) {
  qm_variant* holder = container();
  qm_variant* child = integer(1);
  append_child(holder, child);
  append_child(holder, child);
  EXPECT_EQ(list(holder), (std::vector<qm_variant*>{child, child}));
  EXPECT_EQ(references(child), 3);
}

// ---- Removal -----------------------------------------------------------------------------------

TEST_P(VariantChildren, AreHandedOverWhenTheyAreTaken) {
  for (const std::uint32_t code : codes().take) {
    qm_variant* holder = five_children();
    auto expected = list(holder);
    auto record = request(holder, kNthId, 2, 0, nullptr);
    ASSERT_EQ(kernel()(code, &record), 1);
    adopt(record.child);
    EXPECT_EQ(record.child, expected[1]);
    EXPECT_EQ(record.index, 1);
    EXPECT_EQ(record.id, 2);
    EXPECT_EQ(references(record.child), 2) << "the holder's reference is the caller's now";
    expected.erase(expected.begin() + 1);
    EXPECT_EQ(list(holder), expected);
  }
}

TEST_P(VariantChildren, AreReleasedWhenTheyAreDeleted) {
  for (const std::uint32_t code : codes().remove) {
    qm_variant* holder = five_children();
    auto expected = list(holder);
    auto record = request(holder, kIx, 0, 3, nullptr);
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(record.child, nullptr);
    EXPECT_EQ(record.index, 3);
    EXPECT_EQ(record.id, 3);
    EXPECT_EQ(references(expected[3]), 1);
    expected.erase(expected.begin() + 3);
    EXPECT_EQ(list(holder), expected);
  }
}

TEST_P(VariantChildren, GrowAndShrinkInAnyOrder) {
  qm_variant* holder = container();
  std::vector<qm_variant*> expected;
  const auto insert_at = [&](std::size_t at) {
    qm_variant* child = integer(static_cast<std::int32_t>(expected.size()));
    auto record = request(holder, kIx, 0, static_cast<std::int32_t>(at), nullptr);
    record.child = child;
    ASSERT_EQ(kernel()(codes().insert[0], &record), 1);
    expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(at), child);
  };
  const auto remove_at = [&](std::size_t at) {
    auto record = request(holder, kIx, 0, static_cast<std::int32_t>(at), nullptr);
    ASSERT_EQ(kernel()(codes().remove[0], &record), 1);
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(at));
  };
  for (std::size_t at = 0; at < 33; ++at) insert_at(at / 2);
  EXPECT_EQ(list(holder), expected);
  while (expected.size() > 16) remove_at(expected.size() / 3);
  EXPECT_EQ(list(holder), expected);
  insert_at(16);
  insert_at(0);
  EXPECT_EQ(list(holder), expected);
  while (!expected.empty()) remove_at(0);
  EXPECT_TRUE(list(holder).empty());
  insert_at(0);
  EXPECT_EQ(list(holder), expected);
}

// ---- Counting ----------------------------------------------------------------------------------

TEST_P(VariantChildren, AreCountedByName) {
  qm_variant* holder = five_children();
  struct {
    const qm_wchar* name;
    std::uint32_t flags;
    std::int32_t index, first, count;
  } const searches[] = {
      {QM_W("a"), 0, 0, 0, 2},
      {QM_W("a"), 0, 3, 0, 2},
      {QM_W("a"), kIx, 1, 4, 2},
      {QM_W("a"), kIx, 4, 4, 2},
      {QM_W("a"), kIx, 5, -1, 2},
      {QM_W("b"), kIx, 2, 3, 2},
      {nullptr, 0, 0, 2, 1},
      {nullptr, kIx, 3, -1, 1},
      {QM_W(""), 0, 0, -1, 0},
      {QM_W("none"), 0, 0, -1, 0},
      {QM_W("a"), kIx, INT_MAX, -1, 2},
      // other flags are not looked at
      {QM_W("a"), QM_FIND_LAST | kNthId | kIdFrom | kIx, 1, 4, 2},
  };
  for (const auto& search : searches) {
    auto record = request(holder, search.flags, 3, search.index, search.name);
    ASSERT_EQ(kernel()(codes().count[0], &record), 1);
    EXPECT_EQ(record.index, search.first);
    EXPECT_EQ(record.id, search.count);
    EXPECT_EQ(record.child, nullptr);
    EXPECT_EQ(record.flags, search.flags);
  }
  for (qm_variant* child : list(holder)) EXPECT_EQ(references(child), 2);
}

TEST_P(VariantChildren, AreNotCountedInEmptyLists) {
  auto record = request(container(), 0, 0, 0, nullptr);
  ASSERT_EQ(kernel()(codes().count[0], &record), 1);
  EXPECT_EQ(record.index, -1);
  EXPECT_EQ(record.id, 0);
}

// ---- Names -------------------------------------------------------------------------------------

TEST_P(VariantChildren, AreToldApartByTheWholeName) {
  qm_variant* holder = container();
  const qm_wchar* names[] = {QM_W("ab12"), QM_W("ab34"), QM_W("ab1"), QM_W("AB12")};
  for (const qm_wchar* name : names) append_child(holder, integer(0, 0, name));
  for (std::int32_t at = 0; at < 4; ++at) {
    const Text copy = names[at];
    auto record = request(holder, kNthName, 0, 0, copy.c_str());
    ASSERT_EQ(kernel()(codes().get[0], &record), 1);
    EXPECT_EQ(record.index, at);
    kernel()(QM_CALL_VARIANTRELEASE, record.child);
  }
}

}  // namespace
}  // namespace contract
