// What the tests of variants from the inside share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/support/expect_error.h"
#include "variant/creation.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd::test {

// Error state and lock of a process that has just started.
class Variants : public testing::Test {
 protected:
  Variants() { variants_create(); }
  ~Variants() override { variants_destroy(); }

  static VariantOwner number(std::int32_t value, const qm_wchar* name = nullptr) {
    return create_variant({nullptr, value, name, QM_TYPE_SIGNED, sizeof value, 1, &value});
  }
  static VariantOwner container() {
    return create_variant({nullptr, 0, QM_W("list"), QM_TYPE_CONTAINER, 0, 0, nullptr});
  }

 private:
  ErrorState errors_;
};

}  // namespace qmsd::test
