// The rows hold for the Windows runtime and for our own formatter alike; each was measured there.
#include "platform/format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdint>
#include <string>

#include "tests/unit/platform/format_support.h"

namespace qmsd::platform {
namespace {

constexpr auto kNull = static_cast<const void*>(nullptr);

TEST(Format, PrintsLiteralTextAsItIs) {
  expect_format("", "");
  expect_format("abc", "abc");
  expect_format("100%%", "100%");
  expect_format("%%%%d", "%%d");
}

TEST(Format, PrintsIntegersInEveryBase) {
  expect_format("%d|%i|%u|%o|%x|%X", "-5|5|5|10|ff|FF", -5, 5, 5u, 8, 255, 255);
  expect_format("%d|%u|%x|%o", "-2147483648|4294967295|ffffffff|37777777777", INT_MIN, -1, -1, -1);
  expect_format("%#x|%#X|%#o|%#d", "0xff|0XFF|010|5", 255, 255, 8, 5);
  expect_format("%#x|%#o|%#X", "0|0|0", 0, 0, 0);
}

TEST(Format, SignsOnlySignedIntegers) {
  expect_format("%+d|% d|%+ d|% +d|%+d", "+5| 5|+5|+5|-5", 5, 5, 5, 5, -5);
  expect_format("%+u|% u|%+x|%+o", "5|5|5|5", 5, 5, 5, 5);
}

TEST(Format, TakesIntegersOfEverySize) {
  expect_format("%hd|%hu|%hx|%hi", "4464|4464|1170|-1", 70000, 70000, 70000, 65535);
  expect_format("%ld|%lu|%lx|%li", "-5|5|ff|-7", -5L, 5L, 255L, -7L);
  expect_format("%lld|%llu|%llx|%lli", "-5|5|ffffffffff|-9223372036854775808", -5LL, 5ULL,
                0xffffffffffULL, LLONG_MIN);
  expect_format("%I64d|%I64u|%I64x|%I64i", "-5|18446744073709551615|ffffffffff|7", -5LL, -1LL,
                0xffffffffffULL, 7LL);
  expect_format("%#llo|%#I64x|%I64o", "010|0xff|1777777777777777777777", 8LL, 255LL, -1LL);
  expect_format("%I32d|%I32u|%I32x", "-5|5|ff", -5, 5, 255);
  expect_format("%Id|%Ix|%Iu", "-3|10|7", std::intptr_t{-3}, std::intptr_t{16}, std::intptr_t{7});
  expect_format("%zd|%zu|%td", "-5|6|-7", std::intptr_t{-5}, std::size_t{6}, std::ptrdiff_t{-7});
  expect_format("%jd|%jx", "21474836485|ffffffffff", 21474836485LL, 0xffffffffffLL);
}

TEST(Format, PadsIntegersToTheirWidth) {
  expect_format("%5d|%-5d|%05d|%-05d|%1d", "    5|5    |00005|5    |-12345", 5, 5, 5, 5, -12345);
  expect_format("%05d|%+05d|% 05d|%0+5d", "-0005|+0005| 0005|+0005", -5, 5, 5, 5);
  expect_format("%- 5d|%-+5d|%+5d", " 5   |+5   |   +5", 5, 5, 5);
  expect_format("%#6x|%#06x|%-#6x|%#08o", "  0xff|0x00ff|0xff  |00000010", 255, 255, 255, 8);
  expect_format("%#5o|%#05o|%08x|%08X", "  010|00010|000000ff|000000FF", 8, 8, 255, 255);
}

TEST(Format, GivesIntegersTheirLeastDigits) {
  expect_format("%.3d|%.3d|%6.3d|%-6.3d|", "005|-005|   005|005   |", 5, -5, 5, 5);
  expect_format("%+.3d|% .3d|%#.3x|%.1d", "+005| 005|0x005|12345", 5, 5, 5, 12345);
  expect_format("%.0d|%.d|%.0x|%#.0x|%.0u", "||||", 0, 0, 0, 0, 0);
  expect_format("%+.0d|%3.0d|%.0d", "+|   |7", 0, 0, 7);
  expect_format("%#.3o|%#.2o|%#.1o|%#.5o|%#.0o", "005|010|0|00010|", 5, 8, 0, 8, 0);
  expect_format("%12.10d|%-12.10d|", " -0000000005|-0000000005 |", -5, -5);
  expect_format("%.40d", std::string(39, '0') + "5", 5);
  expect_format("%.30x", std::string(28, '0') + "ff", 255);
  expect_format("%#.30x", "0x" + std::string(28, '0') + "ff", 255);
}

// C would have no zeros here.
TEST(Format, FillsWithZerosDespiteAPrecision) {
  expect_format("%08.3d|%+08.3d|%#08.3x", "00000005|+0000005|0x000005", 5, 5, 5);
  expect_format("%08.0d|%08.10d", "00000000|-0000000005", 0, -5);
}

TEST(Format, TakesWidthAndPrecisionFromArguments) {
  expect_format("%*d|%-*d|%*d|%0*d|%0*d|", "    1|1    |1    |00001|1    |", 5, 1, 5, 1, -5, 1, 5,
                1, -5, 1);
  expect_format("%.*d|%.*d|%*.*d|%.*d", "001|1|   001|", 3, 1, -3, 1, 6, 3, 1, 0, 0);
  expect_format("%.*f|%.*f|%*f|", "1.00|1.000000|1.000000    |", 2, 1.0, -2, 1.0, -12, 1.0);
  expect_format("%*s|%*s|%.*s|%.*s|", "    a|a    |ab|abc|", 5, Own{"a"}, -5, Own{"a"}, 2,
                Own{"abc"}, -1, Own{"abc"});
  expect_format("%*.*s|", "ab   |", -5, 2, Own{"abc"});
}

TEST(Format, PrintsTextOfBothKinds) {
  expect_format("%s|%S", "own|other", Own{"own"}, Other{"other"});
  expect_format("%5s|%-5s|%5S|%-5S|", "   ab|ab   |   cd|cd   |", Own{"ab"}, Own{"ab"}, Other{"cd"},
                Other{"cd"});
  expect_format("%1s|%0s|%s", "abc|abc|", Own{"abc"}, Own{"abc"}, Own{""});
  expect_format("%05s|%05S|%-05s|", "000ab|000cd|ab   |", Own{"ab"}, Other{"cd"}, Own{"ab"});
  expect_format("%#s|%+s|% s", "a|b|c", Own{"a"}, Own{"b"}, Own{"c"});
  expect_format("%I64s|%I32s|%Ls", "a|b|c", Own{"a"}, Own{"b"}, Own{"c"});
}

TEST(Format, LetsTheSizeChooseTheKindOfText) {
  const auto wide = format_into<qm_wchar>(&format_wide, 50, QM_W("%hs|%ls|%ws|%hS|%lS|%wS"), "n",
                                          QM_W("w"), QM_W("w"), "n", QM_W("w"), QM_W("w"));
  EXPECT_EQ(wide.text(), QM_W("n|w|w|n|w|w"));
  const auto narrow = format_into<char>(&format_narrow, 50, "%hs|%ls|%ws|%hS|%lS|%wS", "n",
                                        QM_W("w"), QM_W("w"), "n", QM_W("w"), QM_W("w"));
  EXPECT_EQ(narrow.text(), "n|w|w|n|w|w");
}

TEST(Format, CutsTextAtItsPrecision) {
  expect_format("%.2s|%.2S|%.0s|%.s|%.9s", "ab|cd|||abc", Own{"abc"}, Other{"cde"}, Own{"abc"},
                Own{"abc"}, Own{"abc"});
  expect_format("%5.2s|%-5.2S|", "   ab|cd   |", Own{"abc"}, Other{"cde"});
}

TEST(Format, ReadsNoTextBeyondItsPrecision) {
  const char narrow[3] = {'a', 'b', 'c'};
  const qm_wchar wide[3] = {'d', 'e', 'f'};
  const auto in_wide = format_into<qm_wchar>(&format_wide, 50, QM_W("%.3s|%.3hs"), wide, narrow);
  EXPECT_EQ(in_wide.text(), QM_W("def|abc"));
  const auto in_narrow = format_into<char>(&format_narrow, 50, "%.3s|%.3ls", narrow, wide);
  EXPECT_EQ(in_narrow.text(), "abc|def");
}

TEST(Format, PrintsNullTextInWords) {
  expect_format("%s|%S|%hs|%ls", "(null)|(null)|(null)|(null)", kNull, kNull, kNull, kNull);
  expect_format("%8s|%-8S|%.2s|%.0s|", "  (null)|(null)  |(n||", kNull, kNull, kNull, kNull);
}

TEST(Format, PrintsCharactersOfBothKinds) {
  expect_format("%c|%C|%hc|%lc|%wc", "a|b|c|d|e", 'a', 'b', 'c', 'd', 'e');
  expect_format("%3c|%-3c|%03c|%3C|", "  a|b  |00c|  d|", 'a', 'b', 'c', 'd');
  expect_format("%.0c|%.1c|%3.0c|", "|b|   |", 'a', 'b', 'c');
}

TEST(Format, CountsACharacterOfZero) {
  const qm_wchar expected[] = QM_W("a\0b\0c\0d");
  const auto wide = format_into<qm_wchar>(&format_wide, 10, QM_W("a%cb%hcc%Cd"), 0, 0, 0);
  EXPECT_EQ(wide.result, 7);
  EXPECT_TRUE(std::equal(expected, expected + 8, wide.buffer.begin()));
  const auto narrow = format_into<char>(&format_narrow, 10, "a%cb%Cc", 0, 0);
  EXPECT_EQ(narrow.result, 5);
  EXPECT_EQ(narrow.buffer.substr(0, 6), std::string("a\0b\0c\0", 6));
}

TEST(Format, PassesWideUnitsThroughUnchanged) {
  const qm_wchar pair_and_lone[] = {0xD83D, 0xDE00, 0x20AC, 0xDC00, 'x', 0};
  const auto formatted = format_into<qm_wchar>(&format_wide, 20, QM_W("%s"), pair_and_lone);
  EXPECT_EQ(formatted.text(), pair_and_lone);
  EXPECT_EQ(format_into<qm_wchar>(&format_wide, 20, pair_and_lone).text(), pair_and_lone);
}

TEST(Format, PrintsPointersAsUpperCaseDigitsOfFullLength) {
  const auto pointer = reinterpret_cast<const void*>(std::uintptr_t{0x1234ABC});
  const std::string zeros(2 * sizeof(void*) - 7, '0');
  const std::string digits = zeros + "1234ABC";
  expect_format("%p", digits, pointer);
  expect_format("%p", std::string(2 * sizeof(void*), '0'), kNull);
  expect_format("%#p|%#p", "0X" + digits + '|' + std::string(2 * sizeof(void*), '0'), pointer,
                kNull);
  expect_format("%20p|%-20p|",
                std::string(20 - digits.size(), ' ') + digits + '|' + digits +
                    std::string(20 - digits.size(), ' ') + '|',
                pointer, pointer);
  expect_format("%+p|% p|%hp|%lp", digits + '|' + digits + '|' + digits + '|' + digits, pointer,
                pointer, pointer, pointer);
  expect_format("%.4p|%020p",
                digits.substr(0, 4) + '|' + std::string(20 - digits.size(), ' ') + digits, pointer,
                pointer);
}

TEST(Format, CopiesUnknownConversions) {
  expect_format("%y|%5y|%-5y|%+y|%.3y|%ly|%hy|%I64y", "y|y|y|y|y|y|y|y");
  expect_format("%k%d|%Z|%q", "k5|Z|q", 5);
  expect_format("%Is|%zs|%I6d|%I3d|%I", "Is|zs|I6d|I3d|I");
  expect_format("%5-d|%5*d|%..d|%.3.2d|%.-3d|%1$d|%'d", "-d|*d|.d|.2d|-3d|$d|'d");
}

TEST(Format, BeginsAConversionAtThePercentThatEndsAnother) {
  expect_format("%5%b|%l%|%.3%|%+%|", "b||||");
  expect_format("%h%%d|", "%d|");
}

TEST(Format, PrintsNothingForAnUnfinishedConversion) {
  for (const char* unfinished : {"%", "%5", "%5.3", "%.", "%-", "%l", "%ll", "%h", "%w", "%I64"}) {
    expect_format((std::string("abc") + unfinished).c_str(), "abc");
  }
  expect_format("%d%", "5", 5);
  expect_format("abc%*", "abc", 5);
}

TEST(Format, WritesThroughNoPointerForN) {
  std::int64_t target = 77;
  expect_format("abc%ndef%d", "abcdef5", &target, 5);
  expect_format("%hn%lln%5d", "    5", &target, &target, 5);
  EXPECT_EQ(target, 77);
}

TEST(Format, CutsWhatDoesNotFit) {
  expect_cut(5, "hello", "hell");
  expect_in(6, "hello", "hello", 5);
  expect_in(1, "", "", 0);
  expect_cut(1, "h", "");
  const std::string forty = "0123456789012345678901234567890123456789";
  expect_cut(32, "%s", forty.substr(0, 31), Own{forty});
  expect_cut(32, "%S", forty.substr(0, 31), Other{forty});
  expect_cut(4, "%d", "123", 12345);
  expect_cut(4, "%f", "1.0", 1.0);
  expect_cut(4, "%c%c%c%c", "abc", 'a', 'b', 'c', 'd');
  expect_cut(4, "%%%%%%%%", "%%%");
  expect_cut(32, "ab%40s|", "ab" + std::string(29, ' '), Own{"x"});
  expect_cut(32, "%-40d|", "5" + std::string(30, ' '), 5);
  expect_cut(32, "%040d|", std::string(31, '0'), 5);
  expect_cut(32, "%.40d|", std::string(31, '0'), 5);
  expect_cut(32, "%.40f|", "5." + std::string(29, '0'), 5.0);
  expect_cut(4, "abc%s", "abc", Own{"d"});
  expect_in(4, "abc%s", "abc", 3, Own{""});
}

TEST(Format, WritesNothingWithoutRoom) {
  expect_formatted<qm_wchar>("wide", &format_wide, 0, "abc", "~~~~", -1);
  expect_formatted<char>("narrow", &format_narrow, 0, "", "~~~~", -1);
}

TEST(Format, TakesNoTimeForHugeWidthsAndPrecisions) {
  const std::string blanks(99, ' ');
  const std::string zeros(99, '0');
  for (const char* width : {"1000000000", "2147483647", "2147483648", "99999999999999999999"}) {
    const std::string number = width;
    expect_cut(100, ("%" + number + "d").c_str(), blanks, 5);
    expect_cut(100, ("%" + number + "s").c_str(), blanks, Own{"x"});
    expect_cut(100, ("%0" + number + "d").c_str(), zeros, 5);
    expect_cut(100, ("%." + number + "d").c_str(), zeros, 5);
    expect_cut(100, ("%." + number + "f").c_str(), "1." + zeros.substr(2), 1.0);
    expect_cut(100, ("%." + number + "e").c_str(), "1." + zeros.substr(2), 1.0);
    expect_cut(100, ("%#." + number + "g").c_str(), "1." + zeros.substr(2), 1.0);
    expect_in(100, ("%." + number + "g").c_str(), "1", 1, 1.0);
    expect_in(100, ("%." + number + "s").c_str(), "x", 1, Own{"x"});
  }
  expect_cut(100, "%*d", blanks, INT_MAX, 5);
  expect_cut(100, "%*d|", "5" + blanks.substr(1), INT_MIN, 5);
  expect_cut(100, "%.*d", zeros, INT_MAX, 5);
}

}  // namespace
}  // namespace qmsd::platform
