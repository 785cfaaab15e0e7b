#include "variant/name.h"

#include <thread>
#include <utility>

#include "tests/unit/variant/variant_support.h"
#include "variant/deep_copy.h"
#include "variant/name_hash.h"

namespace qmsd {
namespace {

class Names : public test::Variants {
 protected:
  static VariantOwner copy_of(qm_variant& source) {
    DeepCopy copy;
    return VariantOwner(copy.make(source) ? copy.take() : nullptr);
  }
};

TEST_F(Names, AreSharedByCopies) {
  const VariantOwner source = number(1, QM_W("name"));
  const VariantOwner copy = copy_of(*source);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->name(), source->name());
}

TEST_F(Names, LiveAsLongAsOneWhoHasThem) {
  VariantOwner source = number(1, QM_W("name"));
  const VariantOwner copy = copy_of(*source);
  { const VariantOwner gone(std::move(source)); }
  EXPECT_EQ(WideView(copy->name()), QM_W("name"));
}

TEST_F(Names, ChangeForOneOnly) {
  const VariantOwner source = number(1, QM_W("name"));
  const VariantOwner copy = copy_of(*source);
  const VariantOwner other = number(2, QM_W("other"));
  source->swap_identity(*other);
  EXPECT_EQ(WideView(source->name()), QM_W("other"));
  EXPECT_EQ(WideView(copy->name()), QM_W("name"));
}

TEST_F(Names, MatchWholeWhateverTheirHash) {
  const VariantOwner child = number(1, QM_W("ab12"));
  const std::uint32_t hash = name_hash(QM_W("ab12"));
  EXPECT_TRUE(child->is_named(QM_W("ab12"), hash));
  for (const WideView other : {QM_W("ab34"), QM_W("xb12"), QM_W("ab1"), QM_W("ab123"), QM_W("")}) {
    EXPECT_FALSE(child->is_named(other, hash));
  }
  EXPECT_FALSE(child->is_named(std::nullopt, hash));
  EXPECT_FALSE(child->is_named(QM_W("ab12"), hash + 1));
}

TEST_F(Names, ThatAreEmptyAreNotMissing) {
  const VariantOwner unnamed = number(1);
  const VariantOwner empty = number(2, QM_W(""));
  const std::uint32_t hash = name_hash(WideView());
  EXPECT_TRUE(unnamed->is_named(std::nullopt, hash));
  EXPECT_FALSE(unnamed->is_named(QM_W(""), hash));
  EXPECT_TRUE(empty->is_named(QM_W(""), hash));
  EXPECT_FALSE(empty->is_named(std::nullopt, hash));
}

TEST_F(Names, AreGivenBackByManyThreads) {
  const VariantOwner source = number(1, QM_W("name"));
  const auto copy_often = [&source] {
    for (int round = 0; round < 2000; ++round) EXPECT_TRUE(copy_of(*source));
  };
  std::thread other(copy_often);
  copy_often();
  other.join();
  EXPECT_EQ(WideView(source->name()), QM_W("name"));
}

}  // namespace
}  // namespace qmsd
