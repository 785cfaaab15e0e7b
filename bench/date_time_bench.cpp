// Date-times and numbers against what the C library offers for the same work, in the same run.
#include <benchmark/benchmark.h>
#include <time.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "services/text/numbers.h"
#include "variant/time/counts.h"
#include "variant/time/format.h"
#include "variant/time/parse.h"
#include "variant/time/recognise.h"

namespace {

using namespace qmsd;

constexpr const char kText[] = "2024-02-29 13:05:09.123";
const DateTime kMoment = parse_date_time(kText);

tm broken_down() {
  tm time{};
  time.tm_year = 2024 - 1900;
  time.tm_mon = 1;
  time.tm_mday = 29;
  time.tm_hour = 13;
  time.tm_min = 5;
  time.tm_sec = 9;
  return time;
}

void format_default_form(benchmark::State& state) {
  char buffer[kDefaultFormSize];
  DateTime value = kMoment;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    benchmark::DoNotOptimize(print_date_time(value, buffer));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(format_default_form);

void format_by_language(benchmark::State& state) {
  char buffer[kDefaultFormSize];
  DateTime value = kMoment;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    benchmark::DoNotOptimize(format_date_time(value, kDateTimeForm, buffer));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(format_by_language);

void format_peer_strftime(benchmark::State& state) {  // writes no fraction
  char buffer[kDefaultFormSize];
  tm time = broken_down();
  for (auto _ : state) {
    benchmark::DoNotOptimize(time);
    benchmark::DoNotOptimize(::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &time));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(format_peer_strftime);

void parse_default_form(benchmark::State& state) {
  const char* text = kText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(parse_date_time({text, sizeof kText - 1}));
  }
}
BENCHMARK(parse_default_form);

void parse_by_recogniser(benchmark::State& state) {
  const char* text = kText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(recognise_date_time({text, sizeof kText - 1}, 0));
  }
}
BENCHMARK(parse_by_recogniser);

void parse_peer_strptime(benchmark::State& state) {  // reads no fraction
  const char* text = kText;
  tm time{};
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(::strptime(text, "%Y-%m-%d %H:%M:%S", &time));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(parse_peer_strptime);

void date_to_microseconds(benchmark::State& state) {
  DateTime value = kMoment;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    benchmark::DoNotOptimize(microseconds_since_1970(value));
  }
}
BENCHMARK(date_to_microseconds);

void date_to_seconds_peer_timegm(benchmark::State& state) {
  const tm moment = broken_down();
  for (auto _ : state) {
    tm time = moment;
    benchmark::DoNotOptimize(time);
    benchmark::DoNotOptimize(::timegm(&time));
  }
}
BENCHMARK(date_to_seconds_peer_timegm);

void date_from_microseconds(benchmark::State& state) {
  std::int64_t count = microseconds_since_year_1(kMoment);
  for (auto _ : state) {
    benchmark::DoNotOptimize(count);
    benchmark::DoNotOptimize(date_time_from_microseconds(count));
  }
}
BENCHMARK(date_from_microseconds);

void date_from_seconds_peer_gmtime(benchmark::State& state) {
  time_t count = 1'709'211'909;
  tm time{};
  for (auto _ : state) {
    benchmark::DoNotOptimize(count);
    benchmark::DoNotOptimize(::gmtime_r(&count, &time));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(date_from_seconds_peer_gmtime);

constexpr std::int64_t kInteger = -1'234'567'890'123;
constexpr double kFloating = 3.14159265358979;

void integer_to_text(benchmark::State& state) {
  std::int64_t number = kInteger;
  for (auto _ : state) {
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(print_signed(number));
  }
}
BENCHMARK(integer_to_text);

void integer_to_text_peer_snprintf(benchmark::State& state) {
  char buffer[32];
  std::int64_t number = kInteger;
  for (auto _ : state) {
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%" PRId64, number));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(integer_to_text_peer_snprintf);

void text_to_integer(benchmark::State& state) {
  const char* text = "-1234567890123";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(read_decimal({text, 14}));
  }
}
BENCHMARK(text_to_integer);

void text_to_integer_peer_strtoll(benchmark::State& state) {
  const char* text = "-1234567890123";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(std::strtoll(text, nullptr, 10));
  }
}
BENCHMARK(text_to_integer_peer_strtoll);

void floating_to_text(benchmark::State& state) {
  double number = kFloating;
  for (auto _ : state) {
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(print_floating(number));
  }
}
BENCHMARK(floating_to_text);

void floating_to_text_peer_snprintf(benchmark::State& state) {
  char buffer[32];
  double number = kFloating;
  for (auto _ : state) {
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%g", number));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(floating_to_text_peer_snprintf);

void text_to_floating(benchmark::State& state) {
  const char* text = "3.14159265358979";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(read_floating({text, 16}));
  }
}
BENCHMARK(text_to_floating);

void text_to_floating_peer_strtod(benchmark::State& state) {
  const char* text = "3.14159265358979";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(std::strtod(text, nullptr));
  }
}
BENCHMARK(text_to_floating_peer_strtod);

}  // namespace
