// Items and attributes.
#include <algorithm>
#include <iterator>
#include <limits>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

enum class List { items, attributes };

// Both lists of a variant offer the same.
class ClientChildren : public ClientTest, public testing::WithParamInterface<List> {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    holder_ = qm::Variant::create(kernel(), qm::Value::container());
  }
  void TearDown() override {
    holder_.reset();
    ClientTest::TearDown();
  }

  qm::Children children() const {
    return GetParam() == List::items ? holder_.items() : holder_.attributes();
  }
  void fill(std::initializer_list<int> numbers) const {
    for (const int number : numbers) {
      children().add(number, "n" + std::to_string(number % 2), number);
    }
  }
  std::vector<int> numbers() const {
    std::vector<int> numbers;
    for (const qm::Variant& child : children()) numbers.push_back(child.as<int>());
    return numbers;
  }
  qm::Variant& holder() { return holder_; }

 private:
  qm::Variant holder_;
};

using Numbers = std::vector<int>;

INSTANTIATE_TEST_SUITE_P(Lists, ClientChildren, testing::Values(List::items, List::attributes),
                         [](const auto& list) {
                           return list.param == List::items ? "Items" : "Attributes";
                         });

TEST_P(ClientChildren, AreVisitedInOrder) {
  EXPECT_EQ(numbers(), Numbers());
  EXPECT_TRUE(children().empty());
  fill({1, 2, 3});
  EXPECT_EQ(numbers(), (Numbers{1, 2, 3}));
  EXPECT_EQ(children().size(), 3);
  EXPECT_EQ(kernel().error().code(), 0) << "the end of a walk is no error";
}

TEST_P(ClientChildren, AreARangeForTheStandardLibrary) {
  fill({1, 2, 3, 4});
  const qm::Children all = children();
  const auto even = [](const qm::Variant& child) { return child.as<int>() % 2 == 0; };
  EXPECT_EQ(std::ranges::count_if(all, even), 2);
  EXPECT_EQ(std::ranges::find_if(all, even)->as<int>(), 2);
}

TEST_P(ClientChildren, AreFoundByIndexNameAndId) {
  fill({1, 2, 3, 4, 3});
  const qm::Children all = children();
  const auto number = [&](const qm::Where& where) { return all.get(where).as<int>(); };
  EXPECT_EQ(number(0), 1);
  EXPECT_EQ(number(std::size_t{4}), 3);
  EXPECT_EQ(all[3].as<int>(), 4);
  EXPECT_EQ(number("n0"), 2);
  EXPECT_EQ(number(u"n1"), 1);
  EXPECT_EQ(number(qm::Where::named("n1", 2)), 3);
  EXPECT_EQ(number(qm::Where::with_id(4)), 4);
  EXPECT_EQ(all.position(all.get(qm::Where::with_id(3, 1))), 4);
  EXPECT_EQ(number(qm::Where::last()), 3);
  EXPECT_EQ(all.count("n1"), 3);
  EXPECT_TRUE(all.contains("n0"));
  EXPECT_FALSE(all.contains("none"));
  EXPECT_EQ(all.count(std::nullopt), 0);
}

TEST_P(ClientChildren, ThatAreMissingAreError2) {
  fill({1});
  const qm::Children all = children();
  for (const qm::Where& where :
       {qm::Where(1), qm::Where("none"), qm::Where::unnamed(), qm::Where::with_id(9),
        qm::Where::with_id(1, 1), qm::Where(std::numeric_limits<std::uint64_t>::max())}) {
    EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, all.try_get(where)));
    EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, all.try_take(where)));
    EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, all.try_remove(where)));
    EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, all.try_move(where, 0)));
  }
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, all.try_get(-1)));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, all.try_get(std::numeric_limits<std::int64_t>::min())));
  EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, all.try_position(qm::Variant::create(kernel(), 1))));
  EXPECT_TRUE(throws_with(QM_ERROR_NOT_FOUND, [&] { all.get("none"); }));
  EXPECT_EQ(numbers(), Numbers{1});
}

TEST_P(ClientChildren, AreInsertedWhereTold) {
  fill({1, 2});
  const qm::Children all = children();
  const auto create = [](int number) {
    return qm::Variant::create(kernel(), number, "n" + std::to_string(number));
  };
  EXPECT_EQ(all.insert(create(3)), 2);
  EXPECT_EQ(all.insert(create(4), 0), 0);
  EXPECT_EQ(all.insert(create(5), qm::Where("n0")), 2);
  EXPECT_EQ(all.insert(create(6), qm::Where("n0").after()), 4);
  EXPECT_EQ(all.insert(create(7), all.size()), 6);
  EXPECT_EQ(numbers(), (Numbers{4, 1, 5, 2, 6, 3, 7}));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, all.try_insert(create(8), 9)));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, all.try_insert(create(8), -1)));
}

TEST_P(ClientChildren, AreTakenRemovedAndMoved) {
  fill({1, 2, 3, 4, 5});
  const qm::Children all = children();
  const qm::Variant third = all.take(2);
  EXPECT_EQ(third.as<int>(), 3);
  EXPECT_EQ(numbers(), (Numbers{1, 2, 4, 5}));
  all.remove(qm::Where::last());
  all.remove(qm::Where::with_id(2));
  EXPECT_EQ(numbers(), (Numbers{1, 4}));
  all.insert(third);
  all.move(0, qm::Where::last());
  EXPECT_EQ(numbers(), (Numbers{4, 3, 1}));
  all.move(qm::Where::last(), 0);
  EXPECT_EQ(numbers(), (Numbers{1, 4, 3}));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, all.try_move(0, 7)));
  EXPECT_EQ(numbers(), (Numbers{1, 4, 3})) << "a refused move leaves the child where it was";
}

TEST_P(ClientChildren, AreSharedWithTheirList) {
  const qm::Variant child = qm::Variant::create(kernel(), 5);
  children().insert(child);
  children().insert(child);
  children().get(0).set(6);
  EXPECT_EQ(child.as<int>(), 6);
  EXPECT_EQ(numbers(), (Numbers{6, 6}));
}

TEST_P(ClientChildren, MayBeKeptWhileTheyAreVisited) {
  fill({1, 2, 3});
  std::vector<qm::Variant> kept;
  for (qm::Variant& child : children()) kept.push_back(std::move(child));
  holder().reset();
  EXPECT_EQ(kept.at(0).as<int>() + kept.at(1).as<int>() + kept.at(2).as<int>(), 6);
}

TEST_P(ClientChildren, RemovedWhileTheyAreVisitedAreTheEnd) {
  fill({1, 2, 3, 4});
  Numbers visited;
  for (const qm::Variant& child : children()) {
    visited.push_back(child.as<int>());
    if (visited.size() == 2) {
      children().remove(qm::Where::last());
      children().remove(qm::Where::last());
    }
  }
  EXPECT_EQ(visited, (Numbers{1, 2}));
}

TEST_P(ClientChildren, AddedWhileTheyAreVisitedWait) {
  fill({1, 2});
  Numbers visited;
  for (const qm::Variant& child : children()) {
    visited.push_back(child.as<int>());
    fill({9});
  }
  EXPECT_EQ(visited, (Numbers{1, 2}));
  EXPECT_EQ(children().size(), 4);
}

TEST_P(ClientChildren, OfATemporaryKeepItAlive) {
  fill({1, 2, 3});
  const auto list = [this] {
    return GetParam() == List::items ? holder().share().items() : holder().share().attributes();
  };
  const qm::Children all = list();
  holder().reset();
  Numbers visited;
  for (const qm::Variant& child : all) visited.push_back(child.as<int>());
  EXPECT_EQ(visited, (Numbers{1, 2, 3}));
}

TEST_P(ClientChildren, WithoutMemoryAreAsBefore) {
  fill({1});
  for (const std::uint32_t code :
       {QM_CALL_VARIANTCREATE, QM_CALL_VARIANTINSERTITEM, QM_CALL_VARIANTINSERTATTRIBUTE}) {
    spy().refuse(code);
  }
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, children().try_add(2)));
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, children().try_add(2)));
  EXPECT_EQ(numbers(), Numbers{1});
}

TEST_P(ClientChildren, FailuresOtherThanTheEndAreThrownByTheWalk) {
  fill({1, 2});
  spy().refuse(GetParam() == List::items ? QM_CALL_VARIANTGETITEM : QM_CALL_VARIANTGETATTRIBUTE);
  EXPECT_TRUE(throws_with(QM_ERROR_NO_MEMORY, [&] { numbers(); }));
}

using ClientItems = ClientTest;

TEST_F(ClientItems, AreThoseOfContainersOnly) {
  const auto number = qm::Variant::create(kernel(), 5);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, number.items().try_size()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, number.items().try_count("name")));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, number.items().try_get(0)));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, number.items().try_add(5)));
  EXPECT_TRUE(throws_with(QM_ERROR_ARGUMENT, [&] {
    for (const qm::Variant& item : number.items()) static_cast<void>(item);
  }));
  EXPECT_TRUE(number.attributes().empty());
}

}  // namespace
}  // namespace client_test
