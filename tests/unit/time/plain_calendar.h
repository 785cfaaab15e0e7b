// A calendar that only ever steps to the next day, for comparison with the arithmetic one.
#pragma once

#include <cstdint>
#include <vector>

#include "variant/time/calendar.h"

namespace qmsd {

inline int plain_month_length(int year, int month) {
  switch (month) {
    case 2: {
      // Counted from year 0 upwards, so that negative years need no rule of their own.
      const int of_cycle = ((year % 400) + 400) % 400;
      const bool every_fourth = of_cycle % 4 == 0;
      const bool century = of_cycle == 100 || of_cycle == 200 || of_cycle == 300;
      return every_fourth && !century ? 29 : 28;
    }
    case 4:
    case 6:
    case 9:
    case 11:
      return 30;
    default:
      return 31;
  }
}

inline void step(CalendarDate& date) {
  if (++date.day <= plain_month_length(date.year, date.month)) return;
  date.day = 1;
  if (++date.month <= 12) return;
  date.month = 1;
  ++date.year;
}

// Every day of one 400-year cycle, from which every other day follows.
class PlainCalendar {
 public:
  PlainCalendar() {
    CalendarDate date{1, 1, 1};
    while (date.year != 401) {
      cycle_.push_back(date);
      step(date);
    }
  }

  std::int64_t days_per_cycle() const { return static_cast<std::int64_t>(cycle_.size()); }

  // `day` is counted from 0001-01-01.
  CalendarDate date_of(std::int64_t day) const {
    std::int64_t cycles = day / days_per_cycle();
    std::int64_t rest = day % days_per_cycle();
    if (rest < 0) {
      rest += days_per_cycle();
      --cycles;
    }
    CalendarDate date = cycle_[static_cast<std::size_t>(rest)];
    date.year += static_cast<int>(400 * cycles);
    return date;
  }

 private:
  std::vector<CalendarDate> cycle_;
};

}  // namespace qmsd
