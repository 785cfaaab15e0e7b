// Variants as a caller of the 32-bit Windows library sees them that knows nothing but numbers.
#include "tests/contract/support/variant_test.h"

#if defined(_WIN32) && !defined(_WIN64)

namespace contract {
namespace {

using Word = std::uint32_t;
constexpr Word kUnwritten = 0xC3C3C3C3;

Word word_of(const void* pointer) { return reinterpret_cast<Word>(pointer); }

class RawVariants : public VariantTest {
 protected:
  std::int32_t call(Word code, Word* record) { return kernel()(code, record); }
  Word create(Word type, Word size, Word nitems, const void* data, const wchar_t* name = nullptr,
              Word id = 0) {
    Word record[] = {0, id, word_of(name), type, size, nitems, word_of(data), kUnwritten};
    EXPECT_EQ(call(0x10040003, record), 1);
    EXPECT_EQ(record[7], kUnwritten);
    return record[0];
  }
  void release(Word variant) {
    EXPECT_EQ(kernel()(0x10040001, reinterpret_cast<void*>(variant)), 1);
  }
};

TEST_F(RawVariants, LieInMemoryFieldByField) {
  const std::int16_t number = -2;
  const Word variant = create(1, 2, 1, &number, L"name", 77);
  const auto* fields = reinterpret_cast<const Word*>(variant);
  EXPECT_EQ(fields[0], 77u);
  EXPECT_EQ(fields[1], 1u);
  EXPECT_EQ(fields[2], 2u);
  EXPECT_EQ(fields[3], 1u);
  EXPECT_EQ(fields[4], 0xFFFFFFFEu);
  EXPECT_EQ(fields[5], 0xFFFFFFFFu);
  EXPECT_EQ(fields[6], 0u);
  EXPECT_STREQ(reinterpret_cast<const wchar_t*>(fields[8]), L"name");
  EXPECT_EQ(fields[9], 0u);
  EXPECT_EQ(fields[10], 0u);
  release(variant);
  const Word numbers[] = {5, 6};
  const Word array = create(66, 4, 2, numbers);
  fields = reinterpret_cast<const Word*>(array);
  EXPECT_EQ(reinterpret_cast<const Word*>(fields[4])[1], 6u);
  EXPECT_EQ(fields[5], 2u);
  EXPECT_EQ(fields[7], 0xFFFFFFFFu) << "the hash of no name";
  release(array);
  const Word object_data[] = {0xABCD, word_of(L""), 0x1000000F, 0x1000000F, 0, 0};
  const Word object = create(132, 4, 1, object_data);
  fields = reinterpret_cast<const Word*>(object);
  EXPECT_EQ(fields[4], 0xABCDu);
  EXPECT_STREQ(reinterpret_cast<const wchar_t*>(fields[5]), L"");
  EXPECT_EQ(reinterpret_cast<const Word*>(fields[6])[0], 0x1000000Fu);
  release(object);
}

TEST_F(RawVariants, AreFilledFoundAndRead) {
  const Word seven = 7;
  const Word holder = create(128, 0, 0, nullptr);
  const Word child = create(2, 4, 1, &seven, L"seven", 3);
  Word insert[] = {holder, 0x200, 0, 0, 0, child, kUnwritten};
  ASSERT_EQ(call(0x1004000C, insert), 1);
  ASSERT_EQ(call(0x10040011, insert), 1);
  EXPECT_EQ(insert[2], 3u);
  EXPECT_EQ(insert[3], 0u);
  EXPECT_EQ(insert[6], kUnwritten);

  Word info[] = {holder, 0, 0, 0, 0, 0, kUnwritten};
  ASSERT_EQ(call(0x10040007, info), 1);
  EXPECT_EQ(info[2], 128u);
  EXPECT_EQ(info[3], 1u);
  EXPECT_EQ(info[4], 1u);
  EXPECT_EQ(info[5], 1u);
  EXPECT_EQ(info[6], kUnwritten);

  wchar_t name[8];
  Word named[] = {child, 0, word_of(name), 8, 0, 0, 0, 0, kUnwritten};
  ASSERT_EQ(call(0x10040022, named), 1);
  EXPECT_EQ(named[1], 3u);
  EXPECT_EQ(named[4], 2u);
  EXPECT_EQ(named[5], 4u);
  EXPECT_EQ(named[6], 1u);
  EXPECT_EQ(named[7], 0u);
  EXPECT_EQ(named[8], kUnwritten);
  EXPECT_STREQ(name, L"seven");

  Word get[] = {holder, 0x10, 0, 0, word_of(L"seven"), 0, kUnwritten};
  ASSERT_EQ(call(0x10040009, get), 1);
  EXPECT_EQ(get[5], child);
  release(get[5]);
  Word position[] = {holder, child, 0, kUnwritten, kUnwritten};
  ASSERT_EQ(call(0x10040010, position), 1);
  EXPECT_EQ(position[2], 3u);
  EXPECT_EQ(position[3], 0u);
  EXPECT_EQ(position[4], kUnwritten);

  Word path[] = {holder, word_of(L"L,N=seven"), 0, kUnwritten};
  ASSERT_EQ(call(0x10040018, path), 1);
  EXPECT_EQ(path[2], child);
  release(path[2]);
  char text[8];
  Word value[] = {holder, word_of("seven"), 0, 130, 8, 0, word_of(text), 8, kUnwritten};
  ASSERT_EQ(call(0x1004001B, value), 1);
  EXPECT_STREQ(text, "7");
  EXPECT_EQ(value[2], 3u);
  EXPECT_EQ(value[4], 2u);
  EXPECT_EQ(value[8], kUnwritten);

  Word copy[] = {holder, 0, kUnwritten};
  ASSERT_EQ(call(0x10040004, copy), 1);
  EXPECT_NE(copy[1], holder);
  EXPECT_EQ(copy[2], kUnwritten);
  release(copy[1]);
  release(child);
  release(holder);
}

TEST_F(RawVariants, AreConvertedAndSliced) {
  const std::int16_t numbers[] = {1, -1, 300};
  const Word array = create(65, 2, 3, numbers);
  std::uint8_t bytes[4] = {9, 9, 9, 9};
  Word slice[] = {array, 1, 2, 1, 2, word_of(bytes), 4, kUnwritten};
  ASSERT_EQ(call(0x10040013, slice), 1);
  EXPECT_EQ(bytes[0], 255);
  EXPECT_EQ(bytes[1], 44);
  EXPECT_EQ(bytes[2], 9);
  double number = 0;
  Word convert[] = {array, kUnwritten, 3, 8, 0, word_of(&number), 8, kUnwritten};
  ASSERT_EQ(call(0x10040008, convert), 1);
  EXPECT_EQ(number, 1.0);
  EXPECT_EQ(convert[1], 0u);
  EXPECT_EQ(convert[3], 8u);
  EXPECT_EQ(convert[7], kUnwritten);
  release(array);
}

TEST_F(RawVariants, DescribeObjectsIn8Bytes) {
  const Word data[] = {0x1234, word_of(L"no_such_module"), 1, 2, 3, 4};
  const Word object = create(132, 4, 1, data);
  Word described[] = {0, 0, kUnwritten};
  Word convert[] = {object, 0, 132, 8, 0, word_of(described), 8};
  ASSERT_EQ(call(0x10040008, convert), 1);
  EXPECT_EQ(convert[3], 8u);
  EXPECT_EQ(described[0], 0x1234u);
  EXPECT_STREQ(reinterpret_cast<const wchar_t*>(described[1]), L"no_such_module");
  EXPECT_EQ(described[2], kUnwritten);
  convert[3] = 8;
  convert[6] = 7;
  EXPECT_TRUE(kernel().refuses(0x10040008, convert, failure(22, "(tgtlen)")));
  release(object);
}

}  // namespace
}  // namespace contract

#endif
