// The ways to write a date, one rule for each alternative of the grammar in recognise.cpp.
#pragma once

#include <optional>
#include <span>

#include "variant/time/cursor.h"
#include "variant/time/date_time.h"

namespace qmsd {

struct DateRule {
  // Nothing when the text does not match; the cursor then lies anywhere.
  std::optional<DateTime> (*read)(Cursor& text);
  bool stands_alone;  // else a time behind 'T' has to follow
};

std::span<const DateRule> date_rules() noexcept;

}  // namespace qmsd
