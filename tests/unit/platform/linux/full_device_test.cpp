// A device without room refuses at once what is longer than the stream's buffer, the rest when the
// stream is closed.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/file.h"

namespace qmsd::platform {
namespace {

TEST(FullDevice, RefusesWritesOrTheClosing) {
  OutputFile large;
  ASSERT_EQ(large.open(QM_W("\\dev\\full")), 0);
  const std::string text(100000, 'x');
  EXPECT_EQ(large.write(text.data(), text.size()), ENOSPC);

  OutputFile small;
  ASSERT_EQ(small.open(QM_W("\\dev\\full")), 0);
  EXPECT_EQ(small.write("x", 1), 0);
  EXPECT_EQ(small.close(), ENOSPC);
}

}  // namespace
}  // namespace qmsd::platform
