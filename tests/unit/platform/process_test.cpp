#include "platform/process.h"

#include <gtest/gtest.h>

namespace qmsd::platform {
namespace {

TEST(Process, IsNotEndingWhileItRuns) { EXPECT_FALSE(process_is_ending()); }

}  // namespace
}  // namespace qmsd::platform
