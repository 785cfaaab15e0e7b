// Wide text as tests handle it.
#pragma once

#include <string>

#include "include/qmsd7.h"

namespace qmsd::test {

using WideString = std::basic_string<qm_wchar>;

// For failure messages: what is not ASCII shows as its number.
inline std::string readable(const WideString& text) {
  std::string readable_text;
  for (const qm_wchar unit : text) {
    if (unit >= 0x20 && unit < 0x7F) {
      readable_text += static_cast<char>(unit);
    } else {
      readable_text += "<" + std::to_string(static_cast<unsigned>(unit)) + ">";
    }
  }
  return readable_text;
}

}  // namespace qmsd::test
