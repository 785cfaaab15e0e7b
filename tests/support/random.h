// Random numbers for tests: the same in every run and on every system.
#pragma once

#include <cstdint>
#include <iterator>
#include <random>

namespace qmsd::test {

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t bits() { return engine_(); }
  // 0 to limit - 1.
  template <class Integer>
  Integer below(Integer limit) {
    return static_cast<Integer>(engine_() % static_cast<std::uint64_t>(limit));
  }
  template <class Range>
  const auto& one_of(const Range& range) {
    return std::data(range)[below(std::size(range))];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace qmsd::test
