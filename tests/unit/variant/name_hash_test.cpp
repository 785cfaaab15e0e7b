#include "variant/name_hash.h"

#include <gtest/gtest.h>

#include <span>

#include "tests/support/wide_text.h"
#include "variant/crc32.h"

namespace qmsd {
namespace {

std::uint32_t checksum(std::string_view text, std::uint32_t start = 0) {
  return crc32(std::as_bytes(std::span(text)), start);
}

TEST(Crc32, HasItsCheckValue) {
  EXPECT_EQ(checksum("123456789"), 0xCBF43926u);
  EXPECT_EQ(checksum(""), 0u);
}

TEST(Crc32, GoesOnFromAnEarlierChecksum) {
  EXPECT_EQ(checksum("6789", checksum("12345")), checksum("123456789"));
  EXPECT_EQ(checksum("", 0xFFFFFFFF), 0xFFFFFFFFu);
}

TEST(NameHash, OfNoNameAndOfAnEmptyOneAreTheSame) {
  EXPECT_EQ(name_hash(WideView()), 0xFFFFFFFFu);
  EXPECT_EQ(name_hash(QM_W("")), 0xFFFFFFFFu);
}

// As many bytes as the name has characters, so half of them: the reference values are those of the
// check sum over these bytes, started at 0xFFFFFFFF.
TEST(NameHash, IsTheChecksumOfTheFirstHalf) {
  const struct {
    const qm_wchar* name;
    std::uint32_t hash;
  } vectors[] = {
      {QM_W("a"), 0xC54AAE31},      {QM_W("ab"), 0x8319A519},     {QM_W("abc"), 0x15565E9C},
      {QM_W("name"), 0x58E02529},   {QM_W("Length"), 0x70E374F0}, {QM_W("two words"), 0x9631C160},
      {QM_W("\x00E9"), 0x2629A523},
  };
  for (const auto& vector : vectors) {
    EXPECT_EQ(name_hash(vector.name), vector.hash) << test::readable(vector.name);
  }
  EXPECT_EQ(name_hash(QM_W("ab12")), checksum(std::string_view("a\0b\0", 4), 0xFFFFFFFF));
}

TEST(NameHash, DoesNotSeeTheSecondHalf) {
  EXPECT_EQ(name_hash(QM_W("ab12")), name_hash(QM_W("ab34")));
  EXPECT_NE(name_hash(QM_W("ab12")), name_hash(QM_W("ac12")));
}

}  // namespace
}  // namespace qmsd
