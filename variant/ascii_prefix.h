// The ASCII that a wide text begins with, narrowed: numbers and date-times consist of nothing else.
#pragma once

#include <cstddef>
#include <string_view>

#include "services/text/text.h"
#include "variant/scratch.h"

namespace qmsd {

class AsciiPrefix {
 public:
  explicit AsciiPrefix(WideView text);

  // False when memory is exhausted.
  explicit operator bool() noexcept { return narrow_.text() != nullptr; }
  std::string_view view() noexcept { return {narrow_.text(), narrow_.length()}; }

 private:
  Scratch<char> narrow_;
};

}  // namespace qmsd
