// The name that the kernel has for its host.
#include "kernel/entry/application_name.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/test_hooks.h"

namespace qmsd {
namespace {

TEST(ApplicationName, IsTheFullPathOfTheHost) {
  capture_application_name();
  const std::string name = application_name();
  EXPECT_NE(name.find("unit_entry"), std::string::npos);
  EXPECT_NE(name.find_first_of("/\\"), std::string::npos);
}

TEST(ApplicationName, IsAStandInWhenTheHostCannotBeNamed) {
  platform::hide_executable_name(true);
  capture_application_name();
  EXPECT_STREQ(application_name(), "NOAPP");
  platform::hide_executable_name(false);
  capture_application_name();
  EXPECT_STRNE(application_name(), "NOAPP");
}

}  // namespace
}  // namespace qmsd
