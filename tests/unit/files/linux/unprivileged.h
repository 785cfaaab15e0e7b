// Lets the superuser meet what other users meet.
#pragma once

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qmsd::test {

// Permission bits bind the superuser, too, while this object lives.
class Unprivileged {
 public:
  Unprivileged() {
    ::syscall(SYS_capget, &header_, before_);
    __user_cap_data_struct none[2] = {before_[0], before_[1]};
    none[0].effective = none[1].effective = 0;
    EXPECT_EQ(::syscall(SYS_capset, &header_, none), 0);
  }
  ~Unprivileged() { EXPECT_EQ(::syscall(SYS_capset, &header_, before_), 0); }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct before_[2]{};
};

}  // namespace qmsd::test
