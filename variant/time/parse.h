// Reads the default text form of a date-time back, unknown digits included.
#pragma once

#include <string_view>

#include "variant/time/date_time.h"

namespace qmsd {

// [YYYY-MM-DD and one separator] [hh:mm[:ss[.fraction]]], where 1 to 4 year digits will do and each
// digit of the date may be an X, which makes the whole part absent. Never fails: a date that cannot
// be gives the empty value, else the parts before the first mismatch are there. Every February has
// 29 days, so that a date without a year can be read. The text ends at its first NUL.
DateTime parse_date_time(std::string_view text) noexcept;

}  // namespace qmsd
