// The texts that are date-times. Quoted characters are themselves, [ ] may be left out, | separates
// alternatives, Dn is n digits:
//
//   text      : date [ separator time ] | clock
//   separator : 'T' | 't' | ' '
//   date      : year '-' place '-' place          month and day
//             | year '-' D2                       month
//             | year '-' D3                       day of the year
//             | year '-' W D2 [ '-' D1 ]          week, day of the week
//             | D4 W D2 [ D1 ]                    the same
//             | D4 D2 D2 | D4 D3                  as above, if 'T' or 't' and a time follow
//   year      : place place | sign D4 | sign D5 | sign D6
//   place     : D2 | 'XX'
//   W         : 'W' | 'w'
//   time      : clock | compact                   compact only behind 'T' or 't'
//   clock     : D2 ':' D2 [ ':' D2 [ fraction ] ] [ zone ]
//   compact   : D2 [ D2 [ D2 [ fraction ] ] ] [ zone ]
//   fraction  : '.' or ',' and digits, of which the first six count
//   zone      : 'Z' | 'z' | sign D2 [ [ ':' ] D2 ]
//   sign      : '+' | '-'
//
// Hours are 00 to 23, minutes and seconds 00 to 59, months 01 to 12, days 01 to the month's length
// (February always has 29), days of the year 001 to its length, weeks 01 to 52 or 53 as the year
// has, days of the week 1 (Monday, also meant when it is left out) to 7. Years reach to 102399 on
// either side. A place written XX leaves its part absent: weeks and days of the year need all their
// digits, and something has to be present. With a zone the date is complete or not there at all.
//
// A text is read in all these ways; the longest prefix that comes out as a value wins.
#include "variant/time/recognise.h"

#include "variant/time/counts.h"
#include "variant/time/cursor.h"
#include "variant/time/date_rules.h"

namespace qmsd {
namespace {

// Reads the rest of a text in all ways and keeps the longest. Each rule gets a state of its own.
class Recogniser {
 public:
  explicit Recogniser(std::int32_t zone_offset) : zone_offset_(zone_offset) {}

  RecognisedTime read(std::string_view text) {
    clock({Cursor(text), {}});
    for (const DateRule& rule : date_rules()) date_and_time(rule, Cursor(text));
    return longest_;
  }

 private:
  struct State {
    Cursor text;
    DateTime value;

    void add_time(int count, std::int64_t unit) {
      const std::int64_t before = value.has_time() ? value.time_of_day() : 0;
      value.set_time_of_day(before + count * unit);
    }
    // False when no such number comes next.
    bool read_time_part(int high, std::int64_t unit) {
      const auto number = text.number(2, 0, high);
      if (number) add_time(*number, unit);
      return number.has_value();
    }
    bool hours() { return read_time_part(23, 3600 * kMicrosecondsPerSecond); }
    bool minutes() { return read_time_part(59, 60 * kMicrosecondsPerSecond); }
    bool seconds() { return read_time_part(59, kMicrosecondsPerSecond); }
  };

  void offer(const State& state) {
    if (state.value == DateTime() || state.text.position() <= longest_.consumed) return;
    longest_ = {state.value, state.text.position()};
  }

  void date_and_time(const DateRule& rule, Cursor text) {
    const auto date = rule.read(text);
    if (!date) return;
    State state{text, *date};
    if (rule.stands_alone) offer(state);
    if (state.text.skip_one_of("Tt")) {
      clock(state);
      compact(state);
    } else if (rule.stands_alone && state.text.skip(" ")) {
      clock(state);
    }
  }

  void clock(State state) {
    if (!state.hours() || !state.text.skip(":") || !state.minutes()) return;
    end_of_time(state);
    if (state.text.skip(":")) seconds_and_fraction(state);
  }

  void compact(State state) {
    if (!state.hours()) return;
    end_of_time(state);
    if (!state.minutes()) return;
    end_of_time(state);
    seconds_and_fraction(state);
  }

  void seconds_and_fraction(State state) {
    if (!state.seconds()) return;
    end_of_time(state);
    if (!state.text.skip_one_of(".,")) return;
    bool any = false;
    std::int64_t unit = kMicrosecondsPerSecond;
    while (const auto digit = state.text.number(1, 0, 9)) {
      any = true;
      unit /= 10;
      state.add_time(*digit, unit);
    }
    if (any) end_of_time(state);
  }

  // With and without a zone.
  void end_of_time(const State& state) {
    offer(state);
    zone(state);
  }

  void zone(State state) {
    if (state.text.skip_one_of("Zz")) return offer_local(state, 0);
    const char sign = state.text.skip_one_of("+-");
    const auto hours = sign ? state.text.number(2, 0, 23) : std::nullopt;
    if (!hours) return;
    const int direction = sign == '-' ? -1 : 1;
    offer_local(state, direction * *hours * 3600);
    state.text.skip(":");
    const auto minutes = state.text.number(2, 0, 59);
    if (minutes) offer_local(state, direction * (*hours * 3600 + *minutes * 60));
  }

  // `offset` is that of the text's zone in seconds, positive east of Greenwich.
  void offer_local(State state, int offset) {
    const std::int64_t shift = -(std::int64_t{offset} + zone_offset_) * kMicrosecondsPerSecond;
    if (state.value.has_complete_date()) {
      state.value = date_time_from_microseconds(microseconds_since_year_1(state.value) + shift);
    } else if (!state.value.has_date()) {
      const std::int64_t time = (state.value.time_of_day() + shift) % kMicrosecondsPerDay;
      state.value.set_time_of_day(time < 0 ? time + kMicrosecondsPerDay : time);
    } else {
      return;
    }
    if (state.value != DateTime::invalid()) offer(state);
  }

  const std::int32_t zone_offset_;
  RecognisedTime longest_;
};

}  // namespace

RecognisedTime recognise_date_time(std::string_view text, std::int32_t zone_offset) noexcept {
  return Recogniser(zone_offset).read(text);
}

}  // namespace qmsd
