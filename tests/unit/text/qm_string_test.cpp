#include "services/text/qm_string.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "tests/support/allocation_failures.h"
#include "tests/unit/text/text_support.h"

namespace qmsd {
namespace {

using test::Shortage;
using test::with_allocation_failing;

static_assert(sizeof(void*) != 4 || sizeof(qmString) == 16, "part of the class's layout");

qmString string_of(const char* text) {
  qmString string;
  EXPECT_TRUE(string.assign(text));
  return string;
}

testing::AssertionResult is(const qmString& string, const std::string& text, int capacity) {
  if (string.c_str() == text && string.length() == static_cast<int>(text.size()) &&
      string.capacity() == capacity) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "\"" << string.c_str() << "\", length " << string.length()
                                     << ", capacity " << string.capacity();
}

TEST(QmString, BeginsEmptyAndWithoutABuffer) {
  const qmString string;
  EXPECT_TRUE(is(string, "", 0));
}

TEST(QmString, NeedsNoMemoryForAnEmptyText) {
  const bool refused = with_allocation_failing(1, Shortage::from_then_on, [] {
    qmString string;
    EXPECT_TRUE(string.assign(""));
    EXPECT_TRUE(string.assign(QM_W("")));
    EXPECT_TRUE(string.assign(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(string.assign(static_cast<const qm_wchar*>(nullptr)));
    EXPECT_TRUE(string.append(""));
    EXPECT_TRUE(string.append(QM_W("")));
    EXPECT_TRUE(string.append(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(string.append(static_cast<const qm_wchar*>(nullptr)));
    EXPECT_TRUE(string.reserve_length(0));
    EXPECT_TRUE(string.set_capacity(0));
    EXPECT_TRUE(is(string, "", 0));
  });
  EXPECT_FALSE(refused);
}

TEST(QmString, GrowsToExactlyWhatItNeeds) {
  qmString string = string_of("abc");
  EXPECT_TRUE(is(string, "abc", 4));
  EXPECT_TRUE(string.append("de"));
  EXPECT_TRUE(is(string, "abcde", 6));
  EXPECT_TRUE(string.append(QM_W("f")));
  EXPECT_TRUE(is(string, "abcdef", 7));
  EXPECT_TRUE(string.assign(QM_W("abcdefgh")));
  EXPECT_TRUE(is(string, "abcdefgh", 9));
}

TEST(QmString, KeepsTheLargerBufferForAShorterText) {
  qmString string = string_of("abcdef");
  EXPECT_TRUE(string.assign("abc"));
  EXPECT_TRUE(is(string, "abc", 7));
  EXPECT_TRUE(string.append("de"));
  EXPECT_TRUE(is(string, "abcde", 7));
  EXPECT_TRUE(string.assign(QM_W("x")));
  EXPECT_TRUE(is(string, "x", 7));
  EXPECT_TRUE(string.assign(""));
  EXPECT_TRUE(is(string, "", 7));
}

TEST(QmString, AppendsToNothing) {
  qmString narrow;
  EXPECT_TRUE(narrow.append("ab"));
  EXPECT_TRUE(is(narrow, "ab", 3));
  qmString wide;
  EXPECT_TRUE(wide.append(QM_W("ab")));
  EXPECT_TRUE(is(wide, "ab", 3));
}

TEST(QmString, SetsItsCapacityExactly) {
  qmString string = string_of("abcdef");
  EXPECT_TRUE(string.set_capacity(3));
  EXPECT_TRUE(is(string, "ab", 3));
  EXPECT_TRUE(string.set_capacity(100));
  EXPECT_TRUE(is(string, "ab", 100));
  EXPECT_TRUE(string.set_capacity(1));
  EXPECT_TRUE(is(string, "", 1));
  EXPECT_TRUE(string.set_capacity(0));
  EXPECT_TRUE(is(string, "", 0));
}

TEST(QmString, ReservesRoomAndCutsALongerText) {
  qmString string = string_of("abcdef");
  EXPECT_TRUE(string.reserve_length(9));
  EXPECT_TRUE(is(string, "abcdef", 10));
  EXPECT_TRUE(string.reserve_length(2));
  EXPECT_TRUE(is(string, "ab", 10));
  EXPECT_TRUE(string.reserve_length(0));
  EXPECT_TRUE(is(string, "", 10));
}

TEST(QmString, RefusesLengthsThatItCannotCount) {
  qmString string = string_of("abc");
  for (const std::uint32_t size : {0x7FFF'FFFFu, 0x8000'0000u, 0xFFFF'F000u, 0xFFFF'FFFFu}) {
    errno = 0;
    EXPECT_FALSE(string.reserve_length(size));
    EXPECT_EQ(errno, ENOMEM);
  }
  EXPECT_FALSE(string.set_capacity(0x8000'0000u));
  EXPECT_TRUE(is(string, "abc", 4));
}

TEST(QmString, RefusesTextWithoutANarrowFormAndStaysAsItWas) {
  const test::LocaleScope locale("C");
  qmString string = string_of("abc");
  EXPECT_FALSE(string.assign(QM_W("x\u20acy")));
  EXPECT_FALSE(string.append(QM_W("x\u20acy")));
  EXPECT_TRUE(is(string, "abc", 4));
}

TEST(QmString, CountsBytesWhereCharactersHaveSeveral) {
  const test::LocaleScope utf8("C.UTF-8");
  const test::LocaleScope japanese(utf8 ? "C.UTF-8" : "Japanese_Japan.932");
  ASSERT_TRUE(utf8 || japanese);
  const int bytes = utf8 ? 3 : 2;
  qmString string;
  EXPECT_TRUE(string.assign(QM_W("\u3042")));
  EXPECT_EQ(string.length(), bytes);
  EXPECT_TRUE(string.append(QM_W("\u3042x")));
  EXPECT_EQ(string.length(), 2 * bytes + 1);
  EXPECT_EQ(string.capacity(), 2 * bytes + 2);
}

TEST(QmString, IsUsableThroughItsBase) {
  qmString string;
  qmTString<char>& base = string;
  EXPECT_TRUE(base.assign("a") && base.append("b") && base.append(QM_W("c")));
  EXPECT_STREQ(base.c_str(), "abc");
}

TEST(QmString, MovesItsBuffer) {
  qmString from = string_of("abc");
  const char* buffer = from.c_str();
  qmString to = std::move(from);
  EXPECT_EQ(to.c_str(), buffer);
  qmString assigned = string_of("x");
  assigned = std::move(to);
  EXPECT_EQ(assigned.c_str(), buffer);
  EXPECT_TRUE(is(assigned, "abc", 4));
}

// ---- Its own text as the source ----

TEST(QmString, AppendsItsOwnTextWhileTheBufferMoves) {
  qmString string = string_of("abc");
  EXPECT_TRUE(string.append(string.c_str()));
  EXPECT_TRUE(is(string, "abcabc", 7));
  EXPECT_TRUE(string.append(string.c_str() + 4));
  EXPECT_TRUE(is(string, "abcabcbc", 9));
}

TEST(QmString, AppendsItsOwnTextWithRoomToSpare) {
  qmString string = string_of("abc");
  EXPECT_TRUE(string.set_capacity(50));
  EXPECT_TRUE(string.append(string.c_str() + 1));
  EXPECT_TRUE(is(string, "abcbc", 50));
}

TEST(QmString, IsAssignedPartsOfItsOwnText) {
  qmString string = string_of("abcdef");
  EXPECT_TRUE(string.assign(string.c_str()));
  EXPECT_TRUE(is(string, "abcdef", 7));
  EXPECT_TRUE(string.assign(string.c_str() + 1));
  EXPECT_TRUE(is(string, "bcdef", 7));
  EXPECT_TRUE(string.assign(string.c_str() + 5));
  EXPECT_TRUE(is(string, "", 7));
}

// ---- Where an object may be ----

// An object that starts exactly on a 16 MiB boundary.
class MisplacedString {
 public:
  MisplacedString() : space_(new std::byte[2 * kBoundary]) {
    void* place = space_.get();
    std::size_t left = 2 * kBoundary;
    string_ = ::new (std::align(kBoundary, sizeof(qmString), place, left)) qmString;
  }
  ~MisplacedString() { string_->~qmString(); }
  MisplacedString(const MisplacedString&) = delete;
  MisplacedString& operator=(const MisplacedString&) = delete;
  qmString& operator*() const { return *string_; }

 private:
  static constexpr std::size_t kBoundary = 0x0100'0000;
  std::unique_ptr<std::byte[]> space_;
  qmString* string_;
};

TEST(QmString, AppendsNothingToAnObjectAtASuspiciousAddress) {
  const MisplacedString misplaced;
  qmString& string = *misplaced;
  EXPECT_FALSE(string.append("x"));
  EXPECT_FALSE(string.append(QM_W("x")));
  EXPECT_FALSE(string.append(""));
  EXPECT_FALSE(string.append(static_cast<const qm_wchar*>(nullptr)));
  EXPECT_TRUE(string.assign("abc"));
  EXPECT_TRUE(string.assign(QM_W("abcd")));
  EXPECT_TRUE(string.reserve_length(6));
  EXPECT_TRUE(is(string, "abcd", 7));
}

// ---- Exhausted memory ----

qmString after_failed_growth() {
  qmString string = string_of("abc");
  errno = 0;
  EXPECT_TRUE(
      with_allocation_failing(1, Shortage::once, [&] { EXPECT_FALSE(string.set_capacity(10)); }));
  EXPECT_EQ(errno, ENOMEM);
  return string;
}

TEST(QmString, AFailedGrowthLosesTheTextAndKeepsTheCapacity) {
  EXPECT_TRUE(is(after_failed_growth(), "", 10));
}

TEST(QmString, WorksOnAfterAFailedGrowth) {
  qmString assigned = after_failed_growth();
  EXPECT_TRUE(assigned.assign("ab"));
  EXPECT_TRUE(is(assigned, "ab", 3));
  qmString wide = after_failed_growth();
  EXPECT_TRUE(wide.assign(QM_W("ab")));
  EXPECT_TRUE(is(wide, "ab", 3));
  qmString appended = after_failed_growth();
  EXPECT_TRUE(appended.append("ab"));
  EXPECT_TRUE(is(appended, "ab", 3));
  qmString reserved = after_failed_growth();
  EXPECT_TRUE(reserved.reserve_length(5));
  EXPECT_TRUE(is(reserved, "", 6));
  qmString emptied = after_failed_growth();
  EXPECT_TRUE(emptied.assign("") && emptied.reserve_length(0));
  EXPECT_TRUE(is(emptied, "", 10));
  EXPECT_TRUE(emptied.set_capacity(0));
  EXPECT_TRUE(is(emptied, "", 0));
}

TEST(QmString, IsValidAfterEveryFailedAllocation) {
  const auto scenario = [] {
    qmString string;
    const bool done = string.assign("abc") && string.append(QM_W("def")) &&
                      string.append(string.c_str()) && string.set_capacity(3) &&
                      string.reserve_length(20);
    EXPECT_EQ(done, !test::allocation_refused());
    EXPECT_EQ(std::string(string.c_str()).size(), static_cast<std::size_t>(string.length()));
  };
  test::fail_each_allocation(scenario);
  test::throw_at_each_allocation(scenario);
}

TEST(QmString, StaysTerminatedWhenTheAllocatorThrows) {
  qmString string = string_of("abcdef");
  with_allocation_failing(1, Shortage::throws, [&] {
    EXPECT_THROW(std::ignore = string.set_capacity(3), std::bad_alloc);
  });
  EXPECT_TRUE(is(string, "ab", 7));
}

}  // namespace
}  // namespace qmsd
