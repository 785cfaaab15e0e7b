// Recognises dates and times as people and programs write them, more freely than parse.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "variant/time/date_time.h"

namespace qmsd {

struct RecognisedTime {
  DateTime value;
  std::size_t consumed = 0;  // characters of the longest prefix that is a date-time; 0: none
};

// Times with a zone designator become local time. `zone_offset` is that of the local zone in
// seconds, positive west of Greenwich (local_zone_offset()).
RecognisedTime recognise_date_time(std::string_view text, std::int32_t zone_offset) noexcept;

}  // namespace qmsd
