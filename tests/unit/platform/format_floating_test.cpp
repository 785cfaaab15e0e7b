// Floating values as the Windows runtime spells them; each row was measured there.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/unit/platform/format_support.h"

namespace qmsd::platform {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

double not_a_number(std::uint64_t bits) { return std::bit_cast<double>(bits); }

TEST(FormatFloating, PrintsTheThreeNotations) {
  expect_format("%f|%e|%g", "1.500000|1.500000e+010|1e+020", 1.5, 1.5e10, 1e20);
  expect_format("%F|%E|%G", "1.500000|1.500000E-010|1E-020", 1.5, 1.5e-10, 1e-20);
  expect_format("%f|%e|%g|%g", "0.000000|0.000000e+000|0|-0", 0.0, 0.0, 0.0, -0.0);
  expect_format("%lf|%Lf|%hf", "1.500000|1.500000|1.500000", 1.5, 1.5, 1.5);
}

TEST(FormatFloating, GivesExponentsThreeDigits) {
  expect_format("%g|%g|%G|%e", "1e-005|1e+100|1E-300|1.000000e+000", 1e-5, 1e100, 1e-300, 1.0);
}

TEST(FormatFloating, ChoosesTheShorterNotation) {
  expect_format("%g|%g|%g|%g|%g", "100000|1e+006|1.23457e+008|0.0001|1e-005", 1e5, 1e6, 123456789.0,
                1e-4, 1e-5);
  expect_format("%g|%g|%g|%g", "1e+006|0.0001|9.99999e-005|1e+007", 999999.5, 0.00009999995,
                0.000099999949, 9999995.0);
  expect_format("%.5g|%.5g|%.0g|%.3g", "1e+005|99999|1e+002|0", 100000.0, 99999.0, 123.0, 0.0);
  expect_format("%.17g|%.10g|%.20g", "0.10000000000000001|1.5|9.9999999999999991611e+022", 0.1, 1.5,
                1e23);
}

TEST(FormatFloating, KeepsPointAndZerosOnlyInTheAlternateForm) {
  expect_format("%#.0f|%#.0e|%#g|%#.3g|%#.0g", "3.|5.e+000|1.00000|1.00|1.", 3.0, 5.0, 1.0, 1.0,
                1.0);
  expect_format("%#g|%#.0g|%#.5g|%#g", "0.00000|0.|1.0000e+005|1.00000e-010", 0.0, 0.0, 1e5, 1e-10);
}

TEST(FormatFloating, PrintsEveryDigitThatIsAskedFor) {
  expect_format("%.20f|%.25e", "0.10000000000000000555|1.0000000000000000555111512e-001", 0.1, 0.1);
  expect_format("%.50f", "0.33333333333333331482961625624739099293947219848633", 1.0 / 3);
  expect_format("%.30e|%.25f", "4.940656458412465441765687928682e-324|0." + std::string(25, '0'),
                kSmallest, kSmallest);
  expect_format("%.0f|%.0f", "99999999999991611392|10000000000000000000000", 99999999999991611392.0,
                1e22);
}

TEST(FormatFloating, RoundsTiesAwayFromZero) {
  expect_format("%.0f|%.0f|%.0f|%.0f", "1|2|3|-3", 0.5, 1.5, 2.5, -2.5);
  expect_format("%.1f|%.1f|%.2f|%.1f", "0.3|0.8|0.13|-0.3", 0.25, 0.75, 0.125, -0.25);
  expect_format("%.0e|%.0e|%.1e|%.0g|%.1g", "3e+001|4e+001|1.3e+000|3e+001|2e+001", 25.0, 35.0,
                1.25, 25.0, 15.0);
  expect_format("%.0f|%.0f", "1000000000000001|4503599627370498", 1e15 + 0.5, 4503599627370497.5);
}

// Where the next number that a double can hold already has another last digit.
TEST(FormatFloating, RoundsTiesOfManyDigitsByOneInTheLastPlace) {
  expect_format("%.16e|%.16e", "1.1258999068426243e+015|1.1258999068426248e+015",
                1125899906842624.25, 1125899906842624.75);
  expect_format("%.1f|%.1f|%.17g", "1125899906842624.3|1125899906842624.8|1125899906842624.3",
                1125899906842624.25, 1125899906842624.75, 1125899906842624.25);
  expect_format("%.15e|%.16g", "4.503599627370498e+015|4503599627370498", 4503599627370497.5,
                4503599627370497.5);
  expect_format("%.16e|%.16f", "5.0000762939453125e-001|0.5000076293945313", 0.50000762939453125,
                0.50000762939453125);
  expect_format("%.50e", "1.50000000000000044408920985006261616945266723632813e+000",
                1.500000000000000444089209850062616169452667236328125);
}

TEST(FormatFloating, CarriesATieThroughNines) {
  expect_format("%.0f|%.0f|%.3f|%.1f", "10|100|9.938|100000.0", 9.5, 99.5, 9.9375, 99999.96875);
  expect_format("%.0e|%.1e|%.2e|%.0e", "1e+001|1.0e+002|1.00e+003|1e+002", 9.5, 99.5, 999.5, 95.0);
  expect_format("%#.0e|%.3g|%.2g|%#.2g", "1.e+001|1e+003|1e+002|1.0e+002", 9.5, 999.5, 99.5, 99.5);
}

TEST(FormatFloating, TellsTiesFromOtherWholeNumbers) {
  expect_format("%.0e|%.0e|%.0e|%.0e", "2e+001|3e+001|3e+001|9e+000", 23.0, 27.0, 25.0, 8.5);
  expect_format("%.1e|%.1e|%.1e|%.1e", "1.0e+003|1.0e+003|9.9e+002|9.8e+002", 998.0, 995.0, 985.0,
                984.0);
  expect_format("%.17e|%.5e|%.0e|%.0e", "1.15292150460684698e+018|5.90296e+021|3e+021|2e+022",
                1152921504606846976.0, 5902958103587056517120.0, 2.5e21, 2.5e22);
}

TEST(FormatFloating, RoundsTheExactValueWhereThereIsNoTie) {
  expect_format("%.1f|%.1f|%.1e|%.0e", "0.3|0.1|9.9e+000|1e+001", 0.35, 0.05, 9.95, 9.5);
}

TEST(FormatFloating, PadsToTheWidth) {
  expect_format("%8.2f|%-8.2f|%08.2f|%+.1f|% .1f", "    1.25|1.25    |-0001.25|+1.5| 1.5", 1.25,
                1.25, -1.25, 1.5, 1.5);
  expect_format("%12e|%-14.1e|%012.1g", "1.000000e+000|1.0e+000      |0000001e+010", 1.0, 1.0,
                1e10);
}

TEST(FormatFloating, PrintsHexadecimalNotation) {
  expect_format("%a|%A|%a", "0x1.0000000000000p+0|0X1.999999999999AP-4|0x0.0000000000000p+0", 1.0,
                0.1, 0.0);
  expect_format("%.3a|%.0a|%#.0a|%.1a", "0x1.ffcp+0|0x2p+0|0x1.p+0|0x2.0p+0", 1.999, 1.5, 1.0,
                1.999);
  expect_format("%.0a|%.1a|%.1a", "0x1p+1|0x1.1p+0|0x1.2p+0", 2.5, 1.03125, 1.09375);
  expect_format("%.14a|%a|%.3a", "0x1.999999999999a0p-4|0x0.0000000000001p-1022|0x0.000p-1022", 0.1,
                kSmallest, kSmallest);
  expect_format("%025a|%25a|%-25a|",
                "0x000001.0000000000000p+0|     0x1.0000000000000p+0|"
                "0x1.0000000000000p+0     |",
                1.0, 1.0, 1.0);
  expect_format("%+a|% a|%a|%A",
                "+0x1.0000000000000p+0| 0x1.0000000000000p+0|"
                "0x1.7e43c8800759cp+996|0X1.FF00000000000P+7",
                1.0, 1.0, 1e300, 255.5);
}

TEST(FormatFloating, SpellsInfinityLikeARowOfDigits) {
  expect_format("%f|%e|%g|%E|%F", "1.#INF00|1.#INF00e+000|1.#INF|1.#INF00E+000|1.#INF00", kInfinity,
                kInfinity, kInfinity, kInfinity, kInfinity);
  expect_format("%.0f|%.1f|%.2f|%.3f|%.4f|%.5f", "1|1.$|1.#J|1.#IO|1.#INF|1.#INF0", kInfinity,
                kInfinity, kInfinity, kInfinity, kInfinity, kInfinity);
  expect_format("%.0g|%.1g|%.3g|%.9g|%#g|%#.9g", "1.#INF|1|1.#J|1.#INF|1.#INF|1.#INF0000",
                kInfinity, kInfinity, kInfinity, kInfinity, kInfinity, kInfinity);
  expect_format("%a|%.2a|%.0a", "0x1.#INF000000000p+0|0x1.#Jp+0|0x1p+0", kInfinity, kInfinity,
                kInfinity);
  expect_format("%10f|%-10f|%+f|%012f", "  1.#INF00|1.#INF00  |+1.#INF00|-0001.#INF00", kInfinity,
                kInfinity, kInfinity, -kInfinity);
}

TEST(FormatFloating, TellsNotANumberFromIndefinite) {
  const double quiet = not_a_number(0x7FF8000000000000);
  const double signalling = not_a_number(0x7FF0000000000001);
  const double negative = not_a_number(0xFFF8000000000000);
  expect_format("%f|%e|%g|%a", "1.#QNAN0|1.#QNAN0e+000|1.#QNAN|0x1.#QNAN00000000p+0", quiet, quiet,
                quiet, quiet);
  expect_format("%f|%g", "-1.#IND00|-1.#IND", negative, negative);
  expect_format("%.1f|%.2f|%.3f|%.4f|%.5f", "1.$|1.#R|1.#QO|1.#QNB|1.#QNAN", quiet, quiet, quiet,
                quiet, quiet);
  expect_format("%f", "1.#QNAN0", signalling);
}

}  // namespace
}  // namespace qmsd::platform
