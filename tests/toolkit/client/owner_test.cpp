// Every owner moves, never copies, and gives back exactly once.
#include <optional>
#include <utility>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

// How one kind of thing is made, and the call that gives it back.
template <class Owner>
struct Kind;

template <>
struct Kind<qm::Variant> {
  static constexpr std::uint32_t kGivesBack = QM_CALL_VARIANTRELEASE;
  static qm::Variant make(qm::Kernel kernel) { return qm::Variant::create(kernel, 5); }
};
template <>
struct Kind<qm::Buffer> {
  static constexpr std::uint32_t kGivesBack = QM_CALL_REALLOC;
  static qm::Buffer make(qm::Kernel kernel) { return qm::Buffer::allocate(kernel, 5); }
};
template <>
struct Kind<qm::Slot> {
  static constexpr std::uint32_t kGivesBack = QM_CALL_SLOTRELEASE;
  static qm::Slot make(qm::Kernel kernel) { return qm::Slot::create(kernel); }
};
template <>
struct Kind<qm::ModuleHandle> {
  static constexpr std::uint32_t kGivesBack = QM_CALL_CLOSEHANDLE;
  static qm::ModuleHandle make(qm::Kernel kernel) {
    return qm::ModuleHandle::open(kernel, "excounter");
  }
};

template <class Owner>
class ClientOwner : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    install_examples();
  }

  Owner make() const { return Kind<Owner>::make(kernel()); }
  int given_back() { return spy().served(Kind<Owner>::kGivesBack); }
};

using Owners = testing::Types<qm::Variant, qm::Buffer, qm::Slot, qm::ModuleHandle>;
TYPED_TEST_SUITE(ClientOwner, Owners);

TYPED_TEST(ClientOwner, GivesBackAtItsEnd) {
  {
    const TypeParam owner = this->make();
    EXPECT_TRUE(owner);
    EXPECT_NE(owner.get(), TypeParam().get());
    EXPECT_EQ(this->given_back(), 0);
  }
  EXPECT_EQ(this->given_back(), 1);
}

TYPED_TEST(ClientOwner, OfNothingGivesNothingBack) {
  {
    TypeParam owner;
    EXPECT_FALSE(owner);
    owner.reset();
    TypeParam moved = std::move(owner);
    EXPECT_FALSE(moved);
  }
  EXPECT_EQ(this->given_back(), 0);
}

TYPED_TEST(ClientOwner, MovesWhatItOwns) {
  {
    TypeParam first = this->make();
    const auto raw = first.get();
    TypeParam second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(second.get(), raw);
    EXPECT_EQ(second.kernel(), this->kernel());
    first = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_EQ(first.get(), raw);
    EXPECT_EQ(this->given_back(), 0);
  }
  EXPECT_EQ(this->given_back(), 1);
}

TYPED_TEST(ClientOwner, GivesBackWhatItHadWhenItGetsAnother) {
  TypeParam owner = this->make();
  owner = this->make();
  EXPECT_EQ(this->given_back(), 1);
  EXPECT_TRUE(owner);
  owner = TypeParam();
  EXPECT_EQ(this->given_back(), 2);
  EXPECT_FALSE(owner);
}

TYPED_TEST(ClientOwner, SurvivesBeingMovedToItself) {
  TypeParam owner = this->make();
  TypeParam& same = owner;
  const auto raw = owner.get();
  owner = std::move(same);
  EXPECT_EQ(owner.get(), raw);
  EXPECT_EQ(this->given_back(), 0);
}

TYPED_TEST(ClientOwner, HandsItsThingOverAndTakesItBack) {
  {
    TypeParam owner = this->make();
    const auto raw = owner.release();
    EXPECT_FALSE(owner);
    EXPECT_EQ(owner.release(), TypeParam().get());
    EXPECT_EQ(this->given_back(), 0);
    std::optional<TypeParam> again;
    if constexpr (std::same_as<TypeParam, qm::Buffer>) {
      again = qm::Buffer::adopt(this->kernel(), raw);
    } else if constexpr (std::same_as<TypeParam, qm::Slot>) {
      again = qm::Slot::join(this->kernel(), raw);
      qm_slot record{raw, nullptr};
      this->kernel().call(QM_CALL_SLOTRELEASE, &record);
    } else {
      again = TypeParam(this->kernel(), raw);
    }
    EXPECT_EQ(again->get(), raw);
  }
  EXPECT_EQ(this->given_back(), (std::same_as<TypeParam, qm::Slot> ? 2 : 1));
}

TYPED_TEST(ClientOwner, GivesBackOnceWhenReset) {
  TypeParam owner = this->make();
  owner.reset();
  owner.reset();
  EXPECT_FALSE(owner);
  EXPECT_EQ(this->given_back(), 1);
}

TYPED_TEST(ClientOwner, Swaps) {
  TypeParam first = this->make();
  TypeParam second;
  const auto raw = first.get();
  first.swap(second);
  EXPECT_FALSE(first);
  EXPECT_EQ(second.get(), raw);
  EXPECT_EQ(this->given_back(), 0);
}

// Everything that needs a thing refuses to do without, and names the owner.
using ClientEmptyOwner = ClientTest;

template <class T>
void expect_refusal(const qm::Result<T>& result, const char* name) {
  ASSERT_TRUE(fails_with(QM_ERROR_ARGUMENT, result));
  EXPECT_EQ(result.error().text(), std::string("this ") + name + " is empty");
}

TEST_F(ClientEmptyOwner, VariantRefusesUse) {
  qm::Variant moved = qm::Variant::create(kernel(), 5);
  const qm::Variant other = std::move(moved);
  qm::Variant made_empty;
  int numbers[1] = {};
  for (qm::Variant* empty : {&moved, &made_empty}) {
    expect_refusal(empty->try_info(), "Variant");
    expect_refusal(empty->try_type(), "Variant");
    expect_refusal(empty->try_name(), "Variant");
    expect_refusal(empty->try_share(), "Variant");
    expect_refusal(empty->try_copy(), "Variant");
    expect_refusal(empty->try_as<int>(), "Variant");
    expect_refusal(empty->try_convert<int>(), "Variant");
    expect_refusal(empty->try_convert<std::string>(), "Variant");
    expect_refusal(empty->try_assign(5), "Variant");
    expect_refusal(empty->try_assign(5, "name"), "Variant");
    expect_refusal(empty->try_set(5), "Variant");
    expect_refusal(empty->try_set_converted(5), "Variant");
    expect_refusal(empty->try_read(0, std::span(numbers)), "Variant");
    expect_refusal(empty->try_read_converted(0, std::span(numbers)), "Variant");
    expect_refusal(empty->try_write(0, std::span(numbers)), "Variant");
    expect_refusal(empty->try_write_converted(0, std::span(numbers)), "Variant");
    expect_refusal(empty->try_at("path"), "Variant");
    for (const bool items : {true, false}) {
      const qm::Children children = items ? empty->items() : empty->attributes();
      expect_refusal(children.try_size(), "Variant");
      expect_refusal(children.try_empty(), "Variant");
      expect_refusal(children.try_count("name"), "Variant");
      expect_refusal(children.try_contains("name"), "Variant");
      expect_refusal(children.try_get(0), "Variant");
      expect_refusal(children.try_take(0), "Variant");
      expect_refusal(children.try_remove(0), "Variant");
      expect_refusal(children.try_insert(other), "Variant");
      expect_refusal(children.try_add(5), "Variant");
      expect_refusal(children.try_move(0, 1), "Variant");
      expect_refusal(children.try_position(other), "Variant");
      EXPECT_TRUE(throws_with(QM_ERROR_ARGUMENT, [&] { static_cast<void>(children.begin()); }));
    }
  }
  EXPECT_EQ(other.as<int>(), 5);
}

TEST_F(ClientEmptyOwner, ModuleHandleRefusesUse) {
  qm::ModuleHandle empty;
  expect_refusal(empty.try_call(0x12000000), "ModuleHandle");
  expect_refusal(empty.try_share(), "ModuleHandle");
  expect_refusal(empty.try_info(), "ModuleHandle");
  expect_refusal(empty.try_version_texts(), "ModuleHandle");
  expect_refusal(empty.try_resolve(), "ModuleHandle");
  expect_refusal(empty.try_close(), "ModuleHandle");
}

TEST_F(ClientEmptyOwner, BufferAndSlotHaveNoBytes) {
  qm::Buffer buffer;
  EXPECT_EQ(buffer.size(), 0u);
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_TRUE(buffer.bytes().empty());
  EXPECT_TRUE(buffer.wide_text().empty());
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, buffer.try_resize(5)));
  EXPECT_EQ(qm::Slot().data(), nullptr);
}

TEST_F(ClientEmptyOwner, OtherVariantsCannotBeInsertedEmpty) {
  const qm::Variant list = qm::Variant::create(kernel(), qm::Value::container());
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, list.items().try_insert(qm::Variant())));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, list.items().try_position(qm::Variant())));
  EXPECT_TRUE(list.items().empty());
}

}  // namespace
}  // namespace client_test
