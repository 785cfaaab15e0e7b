// Variants: made, shared, copied, assigned, found.
#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

using ClientVariants = ClientTest;

qm::VariantInfo info_of(const qm::Value& value) {
  return qm::Variant::create(qm::Kernel(&Spy::call), value).info();
}

TEST_F(ClientVariants, TakeTypeAndSizeOfWhatTheyAreMadeOf) {
  const auto expect = [](const qm::Value& value, std::int32_t type, std::int32_t size,
                         std::int32_t count) {
    const qm::VariantInfo info = info_of(value);
    EXPECT_EQ(info.type, type);
    EXPECT_EQ(info.size, size) << "type " << type;
    EXPECT_EQ(info.count, count) << "type " << type;
  };
  expect(qm::Value(), QM_TYPE_EMPTY, 0, 0);
  expect(qm::Value::container(), QM_TYPE_CONTAINER, 0, 0);
  expect(std::int8_t{-1}, QM_TYPE_SIGNED, 1, 1);
  expect(short{-1}, QM_TYPE_SIGNED, 2, 1);
  expect(-1, QM_TYPE_SIGNED, 4, 1);
  expect(-1LL, QM_TYPE_SIGNED, 8, 1);
  expect(std::uint8_t{1}, QM_TYPE_UNSIGNED, 1, 1);
  expect(1u, QM_TYPE_UNSIGNED, 4, 1);
  expect(std::uint64_t{1}, QM_TYPE_UNSIGNED, 8, 1);
  expect(1L, QM_TYPE_SIGNED, sizeof(long), 1);
  expect(true, QM_TYPE_UNSIGNED, 1, 1);
  expect(1.5f, QM_TYPE_FLOATING, 4, 1);
  expect(1.5, QM_TYPE_FLOATING, 8, 1);
  expect(qm::DateTime(), QM_TYPE_DATETIME, 8, 1);
  expect("text", QM_TYPE_WIDE_TEXT, 5, 1);
  expect(u"text", QM_TYPE_WIDE_TEXT, 5, 1);
  expect("", QM_TYPE_WIDE_TEXT, 1, 1);
  expect(std::array<short, 3>{1, 2, 3}, QM_TYPE_SIGNED_ARRAY, 2, 3);
  expect(std::vector<std::uint8_t>{1, 2}, QM_TYPE_UNSIGNED_ARRAY, 1, 2);
  expect(std::vector<float>(), QM_TYPE_FLOATING_ARRAY, 4, 0);
  expect(std::vector<qm::DateTime>(2), QM_TYPE_DATETIME_ARRAY, 8, 2);
  expect(std::vector<std::byte>(3), QM_TYPE_BINARY, 3, 1);
  expect(std::vector<std::byte>(), QM_TYPE_BINARY, 0, 1);
  expect(qm::Value::recognised("-5"), QM_TYPE_SIGNED, 4, 1);
  expect(qm::Value::recognised("0.5"), QM_TYPE_FLOATING, 4, 1);
  expect(qm::Value::recognised("2024-02-29"), QM_TYPE_DATETIME, 8, 1);
  expect(qm::Value::recognised("five"), QM_TYPE_WIDE_TEXT, 5, 1);
}

TEST_F(ClientVariants, HaveNameAndId) {
  const std::string longest(1000, 'n');
  const auto named = qm::Variant::create(kernel(), 1, "caf\xC3\xA9", -7);
  EXPECT_EQ(named.name(), "caf\xC3\xA9");
  EXPECT_EQ(named.wide_name(), QM_W("caf\u00E9"));
  EXPECT_EQ(named.info().id, -7);
  EXPECT_EQ(qm::Variant::create(kernel(), 1).name(), "");
  for (const std::size_t length : {62u, 63u, 64u, 65u, 126u, 127u, 128u, 1000u}) {
    const std::string name = longest.substr(0, length);
    EXPECT_EQ(qm::Variant::create(kernel(), 1, name).name(), name);
  }
}

TEST_F(ClientVariants, UnnamedIsNotNamedEmpty) {
  const auto list = qm::Variant::create(kernel(), qm::Value::container());
  list.items().add(1);
  list.items().add(2, "");
  EXPECT_EQ(list.items().get(qm::Where::unnamed()).as<int>(), 1);
  EXPECT_EQ(list.items().get("").as<int>(), 2);
  EXPECT_EQ(list.items().count(std::nullopt), 1);
  EXPECT_EQ(list.items().count(""), 1);
}

TEST_F(ClientVariants, WhatTheKernelRefusesIsAnError) {
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT,
                         qm::Variant::try_create(kernel(), qm::Value::raw(64, 0, 0, nullptr))));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT,
                         qm::Variant::try_create(kernel(), qm::Value::raw(1, 3, 1, "abc"))));
  const auto huge = qm::Value::raw(QM_TYPE_SIGNED_ARRAY, 8, 0x40000000, "");
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, qm::Variant::try_create(kernel(), huge)));
  const auto beyond = qm::Value::raw(QM_TYPE_BINARY, 0x80000000u, 1, "");
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::Variant::try_create(kernel(), beyond)));
  EXPECT_TRUE(throws_with(QM_ERROR_RANGE, [&] { qm::Variant::create(kernel(), beyond); }));
}

TEST_F(ClientVariants, WithoutMemoryFailWithError12) {
  const auto variant = qm::Variant::create(kernel(), 5);
  for (const std::uint32_t code :
       {QM_CALL_VARIANTCREATE, QM_CALL_VARIANTCOPY, QM_CALL_VARIANTREF}) {
    spy().refuse(code);
  }
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, qm::Variant::try_create(kernel(), 5)));
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, variant.try_copy()));
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, variant.try_share()));
  EXPECT_EQ(variant.as<int>(), 5);
}

TEST_F(ClientVariants, AreSharedOrCopied) {
  auto first = qm::Variant::create(kernel(), 5, "name", 3);
  first.attributes().add("red", "color");
  const auto same = first.share();
  const auto copy = first.copy();
  EXPECT_EQ(same.get(), first.get());
  EXPECT_NE(copy.get(), first.get());
  first.assign(6);
  first.at("color").assign("blue");
  EXPECT_EQ(same.as<int>(), 6);
  EXPECT_EQ(copy.as<int>(), 5);
  EXPECT_EQ(copy.name(), "name");
  EXPECT_EQ(copy.at("color").as<std::string>(), "red");
}

TEST_F(ClientVariants, ReferencesAreReleasedAsOftenAsTheyWereTaken) {
  {
    auto list = qm::Variant::create(kernel(), qm::Value::container());
    for (int n = 0; n < 10; ++n) list.items().add(n, "item", n);
    std::vector<qm::Variant> kept;
    for (qm::Variant& item : list.items()) {
      if (item.as<int>() % 2 == 0) kept.push_back(std::move(item));
    }
    kept.push_back(list.items().take(3));
    kept.push_back(list.share().items().get(0).share());
    list = kept.back().copy();
    EXPECT_FALSE(list.try_at("missing").has_value());
  }
  // Each create, copy, get, take and reference is one release; the list's own are not calls.
  const int taken = spy().served(QM_CALL_VARIANTCREATE) + spy().served(QM_CALL_VARIANTCOPY) +
                    spy().served(QM_CALL_VARIANTREF) + spy().served(QM_CALL_VARIANTGETITEM) +
                    spy().served(QM_CALL_VARIANTTAKEITEM) + spy().served(QM_CALL_VARIANTPATHW);
  EXPECT_EQ(spy().served(QM_CALL_VARIANTRELEASE), taken);
}

TEST_F(ClientVariants, AssignedKeepIdNameAndAttributesUnlessToldOtherwise) {
  auto variant = qm::Variant::create(kernel(), 5, "name", 3);
  variant.attributes().add("red", "color");
  variant.assign("text");
  EXPECT_EQ(variant.as<std::string>(), "text");
  EXPECT_EQ(variant.name(), "name");
  EXPECT_EQ(variant.info().id, 3);
  variant.assign(1.5, "other", 4);
  EXPECT_EQ(variant.as<double>(), 1.5);
  EXPECT_EQ(variant.name(), "other");
  EXPECT_EQ(variant.info().id, 4);
  EXPECT_EQ(variant.info().attributes, 1);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, variant.try_assign(qm::Value::raw(64, 0, 0, nullptr))));
  EXPECT_EQ(variant.as<double>(), 1.5);
}

TEST_F(ClientVariants, HoldObjectsOfModules) {
  const qm::ObjectReference object{77, QM_W(""), QM_CALL_NOP, QM_CALL_NOP};
  const auto variant = qm::Variant::create(kernel(), object);
  EXPECT_EQ(variant.type(), QM_TYPE_OBJECT);
  const auto read = variant.as<qm::ObjectReference>();
  EXPECT_EQ(read.value, 77u);
  EXPECT_EQ(read.module, QM_W(""));
  const auto elsewhere = qm::ObjectReference{1, QM_W("no_such_module"), 0x12FE0000, 0x12FE0001};
  EXPECT_EQ(qm::Variant::create(kernel(), elsewhere).as<qm::ObjectReference>().module,
            QM_W("no_such_module"));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, variant.try_as<int>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT,
                         qm::Variant::create(kernel(), 5).try_as<qm::ObjectReference>()));
}

TEST_F(ClientVariants, AreFoundByPath) {
  auto root = qm::Variant::create(kernel(), qm::Value::container(), "root");
  root.attributes().add("big", "size");
  root.items().add(10, "ten").attributes().add("red", "two words");
  root.items().add(20, "twenty", 7);
  EXPECT_EQ(root.at("").get(), root.get());
  EXPECT_EQ(root.at("size").as<std::string>(), "big");
  EXPECT_EQ(root.at(u"[1]").as<int>(), 20);
  EXPECT_EQ(root.at("L,D=7").name(), "twenty");
  EXPECT_EQ(root.at("L,N=ten/N='two words'").as<std::string>(), "red");
  root.at("[0]").set(11);
  EXPECT_EQ(root.at("[0]").as<int>(), 11);

  const auto missing = root.try_at("size/none");
  ASSERT_TRUE(fails_with(QM_ERROR_NOT_FOUND, missing));
  EXPECT_TRUE(missing.error().text().ends_with("(pos=9)")) << missing.error().text();
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, root.try_at("size//b")));
  EXPECT_TRUE(throws_with(QM_ERROR_ARGUMENT, [&] { root.at("size//b"); }));
}

}  // namespace
}  // namespace client_test
