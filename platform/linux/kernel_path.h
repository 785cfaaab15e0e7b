// Kernel paths have backslashes; this system's have slashes and are UTF-8.
#pragma once

#include <climits>

#include "include/qmsd7.h"
#include "platform/linux/utf8.h"

namespace qmsd::platform {

// A path in the system's form. One that is too long becomes empty, which names nothing.
class SystemPath {
 public:
  explicit SystemPath(const qm_wchar* path) noexcept {
    if (!narrow_utf8(path, text_, sizeof text_)) text_[0] = 0;
    for (char* c = text_; *c != 0; ++c) {
      if (*c == '\\') *c = '/';
    }
  }
  const char* c_str() const noexcept { return text_; }

 private:
  char text_[PATH_MAX];
};

}  // namespace qmsd::platform
